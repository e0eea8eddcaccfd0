// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtGlobal>

#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>

/// Ends a wait early. One waiter at a time; any thread may interrupt. An interrupt that comes before the
/// wait ends the next wait at once. It stays (every further wait ends at once) until reset() forgets it.
class QmxInterrupt
{
public:
    void interrupt();
    void reset();
    bool isInterrupted() const;

private:
    friend class QmxClock;
    mutable std::mutex _mutex;
    std::condition_variable _condition;
    std::function<void()> _wake; // set by a clock that wakes its sleepers itself
    bool _interrupted = false;
};

/// The one source of time. Everything that waits, stamps or measures gets a clock handed to it, so that a
/// test can own the time: the real clock, one that is N times as fast, and in tests a stepped one that jumps
/// from deadline to deadline (hours of transport in seconds, repeatable).
///
/// A moment is a number: nanoseconds of a monotonic clock whose origin has no meaning. A length of time is a
/// Duration, here and at every interface. All members: any thread.
class QmxClock
{
public:
    using Duration = std::chrono::nanoseconds;
    static constexpr qint64 nsPerSecond = 1'000'000'000;
    static constexpr qint64 nsPerMillisecond = 1'000'000;

    virtual ~QmxClock();

    /// Monotonic time in nanoseconds.
    virtual qint64 now() const = 0;
    /// Time of day: nanoseconds since 1970-01-01 00:00 UTC. A step of the wall clock changes only this.
    virtual qint64 wallTime() const = 0;
    /// Blocks the calling thread until now() has reached `deadline`; false when `interrupt` came first.
    virtual bool sleepUntil(qint64 deadline, QmxInterrupt *interrupt = nullptr) = 0;
    /// The moment so much after now().
    qint64 after(Duration time) const { return now() + time.count(); }
    /// What has passed since a moment.
    Duration since(qint64 moment) const { return Duration(now() - moment); }
    /// Blocks the calling thread for so long; false when `interrupt` came first.
    bool sleepFor(Duration time, QmxInterrupt *interrupt = nullptr)
    {
        return sleepUntil(after(time), interrupt);
    }
    /// Work in flight. While a copy of the token lives, a stepped clock does not move: whoever queues work
    /// for another thread keeps a token in the queued item until it is done. Null and free of cost elsewhere.
    /// Tokens held over a sleep of whoever works them off (a disk that hangs, say) would stop the time for
    /// good: QmxTaskThread does it right, queues of one's own should be built on it.
    virtual std::shared_ptr<void> busy();
    /// Registers the calling thread for as long as the token lives (it must go on the same thread): on a
    /// stepped clock the thread then counts as busy whenever it is not inside sleepUntil(), from the very
    /// moment it is woken. For threads that live by the clock; one that also waits for something else must
    /// not hold it while it does. Null elsewhere.
    virtual std::shared_ptr<void> addSleeper();
    /// How many nanoseconds of this clock pass in `ns` nanoseconds of the wall (1:1 but for the fast clock).
    virtual double speed() const;
    /// True for the clock that only moves when everybody waits.
    virtual bool isStepped() const;
    /// Joins a thread that may still be asleep on this clock; `hasEnded` tells that it returns. Where the
    /// time moves by the caller's own turns it passes meanwhile.
    virtual void join(std::thread &thread, const std::function<bool()> &hasEnded);

protected:
    /// Waits for a moment of CLOCK_MONOTONIC.
    static bool waitReal(qint64 deadline, QmxInterrupt *interrupt);
    /// For clocks that wake their sleepers themselves. Calls `fallAsleep`, with the interrupt held off; what
    /// that returns is called when the interrupt comes, until standDown(). False, and nothing has been
    /// called, when it has come already.
    static bool standBy(QmxInterrupt &interrupt, const std::function<std::function<void()>()> &fallAsleep);
    static void standDown(QmxInterrupt &interrupt);
};

/// CLOCK_MONOTONIC and CLOCK_REALTIME.
class QmxRealClock : public QmxClock
{
public:
    qint64 now() const override;
    qint64 wallTime() const override;
    bool sleepUntil(qint64 deadline, QmxInterrupt *interrupt = nullptr) override;
};

/// N times as fast as the real clock, from the moment of its construction on.
class QmxFastClock : public QmxClock
{
public:
    explicit QmxFastClock(double factor);
    qint64 now() const override;
    qint64 wallTime() const override;
    bool sleepUntil(qint64 deadline, QmxInterrupt *interrupt = nullptr) override;
    double speed() const override;

private:
    double _factor;
    qint64 _start;
    qint64 _wallStart;
};
