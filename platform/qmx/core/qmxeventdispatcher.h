// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxclock.h"

#include <QAbstractEventDispatcher>

#include <memory>

/// An event loop whose timers run on a clock of the framework: stepped in tests, N times real time in a
/// fast sandbox. Posted events, socket notifiers (by poll) and timers; for the main thread, installed with
/// QCoreApplication::setEventDispatcher() before the application object exists.
///
/// On a stepped clock it is the one who moves the time: when no event is posted, no socket is ready, no timer
/// is due and nobody is busy, it advances to the next deadline, in calls that may wait, and in calls that
/// may not from the second idle one in a row on (loops that only process pending events get on as well).
/// With a limit set on the clock it stops there and returns; the limit does not bind nested calls, which
/// wait for something of their own. wakeUp() any thread; all else on the loop's thread.
class QmxEventDispatcher : public QAbstractEventDispatcher
{
    Q_OBJECT

public:
    explicit QmxEventDispatcher(std::shared_ptr<QmxClock> clock, QObject *parent = nullptr);
    ~QmxEventDispatcher() override;

    std::shared_ptr<QmxClock> clock() const;

    bool processEvents(QEventLoop::ProcessEventsFlags flags) override;
    void registerSocketNotifier(QSocketNotifier *notifier) override;
    void unregisterSocketNotifier(QSocketNotifier *notifier) override;
    void registerTimer(int timerId, qint64 interval, Qt::TimerType type, QObject *object) override;
    bool unregisterTimer(int timerId) override;
    bool unregisterTimers(QObject *object) override;
    QList<TimerInfo> registeredTimers(QObject *object) const override;
    int remainingTime(int timerId) override;
    void wakeUp() override;
    void interrupt() override;

    /// Waits up to `milliseconds` of real time, without moving a stepped clock, for something that comes from
    /// outside: a wake-up or a socket; whether there was one. Handles nothing.
    bool waitForOutside(int milliseconds);

private:
    struct Private;
    std::unique_ptr<Private> d;
};
