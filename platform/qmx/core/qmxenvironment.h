// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxclock.h"
#include "platform/qmx/core/qmxfiles.h"
#include "platform/qmx/core/qmxthreads.h"

#include <chrono>
#include <memory>

struct QmxDeck;
struct QmxPlaces;

/// What the program would otherwise take from the machine behind its back: time, files, threads; and
/// what its parts share.
///
/// Objects take a copy of current() when they are constructed and use that for their whole life. The
/// program sets the environment once before the first object exists; a test sets its own. Any thread may
/// read; only the main thread sets.
struct QmxEnvironment
{
    std::shared_ptr<QmxClock> clock;
    std::shared_ptr<QmxFiles> files;
    std::shared_ptr<QmxThreads> threads;
    /// What the streams and the device of a recorder share; a new one unless told otherwise.
    std::shared_ptr<QmxDeck> deck = newDeck();
    /// Where the recorder's files, locks and shared memory are.
    std::shared_ptr<const QmxPlaces> places = standardPlaces();
    /// Real time that an answer of a medium is waited for at least, however short the asker's own limit is.
    std::chrono::milliseconds shortestMediumWait{0};

    static QmxEnvironment current();
    static void setCurrent(const QmxEnvironment &environment);

private:
    static std::shared_ptr<QmxDeck> newDeck();
    static std::shared_ptr<const QmxPlaces> standardPlaces();
};
