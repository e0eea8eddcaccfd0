// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtGlobal>

#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>

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
    friend class QmxSteppedClock;
    mutable std::mutex _mutex;
    std::condition_variable _condition;
    std::function<void()> _wake; // set by a stepped clock while somebody sleeps on it
    bool _interrupted = false;
};

/// The one source of time. Everything that waits, stamps or measures gets a clock handed to it, so that a
/// test can own the time: the real clock, a stepped one that jumps from deadline to deadline (hours of
/// transport in seconds, repeatable), and a fast one (N times real time).
///
/// Times are nanoseconds of a monotonic clock whose origin has no meaning. All members: any thread.
class QmxClock
{
public:
    static constexpr qint64 nsPerSecond = 1'000'000'000;
    static constexpr qint64 nsPerMillisecond = 1'000'000;

    virtual ~QmxClock();

    /// Monotonic time in nanoseconds.
    virtual qint64 now() const = 0;
    /// Time of day: nanoseconds since 1970-01-01 00:00 UTC. A step of the wall clock changes only this.
    virtual qint64 wallTime() const = 0;
    /// Blocks the calling thread until now() has reached `deadline`; false when `interrupt` came first.
    virtual bool sleepUntil(qint64 deadline, QmxInterrupt *interrupt = nullptr) = 0;
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

protected:
    /// Waits for a moment of CLOCK_MONOTONIC.
    static bool waitReal(qint64 deadline, QmxInterrupt *interrupt);
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

/// A clock that stands still until every participant waits, and then jumps to the earliest deadline.
///
/// Participants are: threads registered with addSleeper() (busy whenever they are not inside sleepUntil();
/// others may sleep too, but the time may pass them by once they are awake), holders of busy() tokens (a
/// token held by a registered sleeper's own work must not be kept over a sleep), and the event loop, whose
/// dispatcher (QmxEventDispatcher) alone moves the time: when no event is posted, no timer is due and
/// nobody is busy it calls advanceTowards() with the deadline of its next timer.
class QmxSteppedClock : public QmxClock
{
public:
    QmxSteppedClock();
    ~QmxSteppedClock() override;

    qint64 now() const override;
    qint64 wallTime() const override;
    bool sleepUntil(qint64 deadline, QmxInterrupt *interrupt = nullptr) override;
    std::shared_ptr<void> busy() override;
    std::shared_ptr<void> addSleeper() override;
    bool isStepped() const override;

    /// A step of the wall clock, as by an operator or NTP.
    void setWallTime(qint64 nsSince1970);

    /// The time beyond which advanceTowards() does not go (the end of the test's present step).
    void setLimit(qint64 limit);
    qint64 limit() const;

    /// Moves to the earliest of the sleepers' deadlines, `timerDeadline` and the limit (`beyondLimit`: or not
    /// that), and wakes one sleeper that is due; false (nothing happened) while somebody is busy, when the
    /// limit is reached, or when there is nothing to wait for.
    bool advanceTowards(qint64 timerDeadline, bool beyondLimit = false);
    bool isBusy() const;
    /// The calling thread is the one that moves the time: its own sleeps do so.
    void setMover();
    /// Waits (in real time) until nobody is busy or `milliseconds` have passed; true when nobody is. Woken
    /// also by kick(), which the dispatcher's wakeUp() calls.
    bool waitUntilIdle(int milliseconds);
    void kick();

private:
    bool moveUntil(qint64 deadline, QmxInterrupt *interrupt);
    struct State;
    std::shared_ptr<State> _state;
};
