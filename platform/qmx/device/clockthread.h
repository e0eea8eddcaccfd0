// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxenvironment.h"
#include "platform/qmx/core/qmxheartbeat.h"

#include <atomic>
#include <thread>

class LumenEngine;

/// The thread "lumen-clock": sleeps from deadline to deadline and lets the engine tick. Begins with its
/// construction; the destructor joins. wake() any thread: the rhythm may have changed.
class ClockThread
{
public:
    ClockThread(LumenEngine &engine, const QmxEnvironment &environment);
    ~ClockThread();
    ClockThread(const ClockThread &) = delete;
    ClockThread &operator=(const ClockThread &) = delete;

    void wake();

private:
    void run(std::shared_ptr<void> starting);

    LumenEngine &_engine;
    std::shared_ptr<QmxClock> _clock;
    QmxInterrupt _interrupt;
    std::atomic<bool> _stop = false;
    QmxHeartbeat _heartbeat{QStringLiteral("The video clock")};
    std::thread _thread;
};
