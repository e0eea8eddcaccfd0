// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxclock.h"

#include <QAbstractEventDispatcher>

#include <memory>

/// An event loop whose timers run on a clock of the framework: N times real time in a fast sandbox; a test's
/// own clock in a class of the test. Posted events, socket notifiers (by poll) and timers; for the main
/// thread, installed with QCoreApplication::setEventDispatcher() before the application object exists.
/// wakeUp() any thread; all else on the loop's thread.
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

protected:
    /// Whether a turn that did nothing (or, `found`, something) may wait.
    virtual bool mayWait(QEventLoop::ProcessEventsFlags flags, bool found);
    /// Waits until something may be to be done; false when the loop is to return with nothing done.
    virtual bool wait(QEventLoop::ProcessEventsFlags flags);

    /// Waits up to `timeout` nanoseconds of real time for a wake-up or a socket; whether there was one.
    bool poll(qint64 timeout, QEventLoop::ProcessEventsFlags flags = {});
    /// Something was posted, or the loop is to end: it must not wait.
    bool isPending() const;
    /// The turn runs inside another one.
    bool isNested() const;
    /// Of the timers that this turn may fire; QmxTimerTable::never: none.
    qint64 firstDeadline(QEventLoop::ProcessEventsFlags flags) const;

private:
    struct Private;
    std::unique_ptr<Private> d;
};
