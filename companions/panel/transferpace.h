// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/control/deckwatch.h"
#include "platform/qmx/core/qmxcounters.h"
#include "platform/qmx/core/qmxenvironment.h"

/// Keeps files that are sent out of the way of takes, as a copy to another medium is kept: while the
/// transport uses the media, so many bytes a second in all, and none while frames wait for the disk. One
/// thread.
class TransferPace
{
public:
    explicit TransferPace(const DeckWatch &watch) : _watch(watch), _environment(QmxEnvironment::current()) {}

    static constexpr double busyRate = 16e6; ///< bytes a second
    static constexpr qint64 fewFrames = 8;   ///< that may wait for the disk

    /// Before each piece: returns when `bytes` may be read.
    void wait(qint64 bytes);
    void end() { _isEnded = true; } ///< any thread

private:
    bool isBusy() const;
    bool framesWait() const;

    const DeckWatch &_watch;
    const QmxEnvironment _environment;
    std::atomic<bool> _isEnded = false;
};
