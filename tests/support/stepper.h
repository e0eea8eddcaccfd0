// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "tests/support/steppedclock.h"

#include <functional>

/// Drives a test's time. Every test program runs its event loop on one stepped clock (see main.cpp): timers
/// and threads of the code under test wake in virtual time, as fast as the machine can, and always in the
/// same order. Main thread only.
namespace Stepper {

/// The clock of the test program. Any thread.
SteppedClock *clock();
qint64 now();

/// Lets `ns` of virtual time pass: everything that is due until then (its end included) has happened, and
/// nobody is busy, when it returns.
void run(qint64 ns);
void runMs(qint64 ms);
/// Lets `ticks` frames at `rate` pass (num/den a second), counted from now in exact arithmetic.
void runTicks(int ticks, int num = 25, int den = 1);
/// Runs until `predicate` holds, asking at every event, at most `maxNs` of virtual time; whether it held.
bool runUntil(const std::function<bool()> &predicate, qint64 maxNs = 10 * QmxClock::nsPerSecond);
/// Delivers what is posted and lets busy threads finish, without letting time pass.
void deliver();

/// For what happens outside virtual time (another process, a socket, a real clock): turns the event loop
/// without moving the stepped clock until `predicate` holds, at most `realMs` of real time.
bool waitFor(const std::function<bool()> &predicate, int realMs = 5000);

} // namespace Stepper
