// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/core/qmxclock.h"

#include <ctime>

namespace {

qint64 readClock(clockid_t id)
{
    timespec time = {};
    clock_gettime(id, &time);
    return time.tv_sec * QmxClock::nsPerSecond + time.tv_nsec;
}

/// Sleeps on CLOCK_MONOTONIC. The farthest deadlines mean "for ever" and are cut so that no sum overflows.
bool sleepReal(qint64 deadline, std::mutex *mutex, std::condition_variable *condition,
               const bool *interrupted)
{
    constexpr qint64 year = 365 * 24 * 3600 * QmxClock::nsPerSecond;
    const qint64 bounded = qMin(deadline, readClock(CLOCK_MONOTONIC) + year);
    if (!mutex) {
        timespec until = {};
        until.tv_sec = bounded / QmxClock::nsPerSecond;
        until.tv_nsec = bounded % QmxClock::nsPerSecond;
        if (bounded > 0)
            while (clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &until, nullptr) == EINTR) {}
        return true;
    }
    const std::chrono::steady_clock::time_point until{std::chrono::nanoseconds(bounded)};
    std::unique_lock lock(*mutex);
    return !condition->wait_until(lock, until, [interrupted] { return *interrupted; });
}

} // namespace

void QmxInterrupt::interrupt()
{
    std::lock_guard lock(_mutex);
    _interrupted = true;
    _condition.notify_all();
    if (_wake) _wake();
}

void QmxInterrupt::reset()
{
    std::lock_guard lock(_mutex);
    _interrupted = false;
}

bool QmxInterrupt::isInterrupted() const
{
    std::lock_guard lock(_mutex);
    return _interrupted;
}

QmxClock::~QmxClock() = default;

std::shared_ptr<void> QmxClock::busy()
{
    return nullptr;
}

std::shared_ptr<void> QmxClock::addSleeper()
{
    return nullptr;
}

double QmxClock::speed() const
{
    return 1.0;
}

bool QmxClock::isStepped() const
{
    return false;
}

void QmxClock::join(std::thread &thread, const std::function<bool()> &)
{
    thread.join();
}

bool QmxClock::standBy(QmxInterrupt &interrupt, const std::function<std::function<void()>()> &fallAsleep)
{
    std::lock_guard lock(interrupt._mutex);
    if (interrupt._interrupted) return false;
    interrupt._wake = fallAsleep();
    return true;
}

void QmxClock::standDown(QmxInterrupt &interrupt)
{
    std::lock_guard lock(interrupt._mutex);
    interrupt._wake = nullptr;
}

bool QmxClock::waitReal(qint64 deadline, QmxInterrupt *interrupt)
{
    if (!interrupt) return sleepReal(deadline, nullptr, nullptr, nullptr);
    return sleepReal(deadline, &interrupt->_mutex, &interrupt->_condition, &interrupt->_interrupted);
}

qint64 QmxRealClock::now() const
{
    return readClock(CLOCK_MONOTONIC);
}

qint64 QmxRealClock::wallTime() const
{
    return readClock(CLOCK_REALTIME);
}

bool QmxRealClock::sleepUntil(qint64 deadline, QmxInterrupt *interrupt)
{
    return waitReal(deadline, interrupt);
}

QmxFastClock::QmxFastClock(double factor)
    : _factor(factor > 0 ? factor : 1.0),
      _start(readClock(CLOCK_MONOTONIC)),
      _wallStart(readClock(CLOCK_REALTIME))
{}

qint64 QmxFastClock::now() const
{
    return _start + qint64(double(readClock(CLOCK_MONOTONIC) - _start) * _factor);
}

qint64 QmxFastClock::wallTime() const
{
    return _wallStart + (now() - _start);
}

bool QmxFastClock::sleepUntil(qint64 deadline, QmxInterrupt *interrupt)
{
    return waitReal(_start + qint64(double(deadline - _start) / _factor), interrupt);
}

double QmxFastClock::speed() const
{
    return _factor;
}
