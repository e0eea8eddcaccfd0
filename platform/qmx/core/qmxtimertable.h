// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QAbstractEventDispatcher>
#include <QList>

#include <chrono>
#include <limits>

/// The timers of an event loop whose time is handed in. Event loop only.
class QmxTimerTable
{
public:
    static constexpr qint64 never = std::numeric_limits<qint64>::max();

    void add(int timerId, std::chrono::milliseconds interval, Qt::TimerType type, QObject *object,
             qint64 now);
    bool remove(int timerId);
    bool removeAll(QObject *object);
    QList<QAbstractEventDispatcher::TimerInfo> of(QObject *object) const;
    /// Time at which a timer is due; `never` when there is no such timer.
    qint64 deadline(int timerId) const;
    /// Time of the first timer that can fire; one whose event is being handled cannot.
    qint64 firstDeadline() const;
    /// Fires every timer that is due at `now`, each once, in the order of their deadlines; whether any was.
    bool fire(qint64 now);

private:
    struct Timer
    {
        int id = 0;
        std::chrono::nanoseconds interval{};
        Qt::TimerType type = Qt::CoarseTimer;
        QObject *object = nullptr;
        qint64 deadline = 0;
        quint64 order = 0; // of two due at once the one that was started first
        bool active = false;
    };
    Timer *find(int timerId);
    const Timer *find(int timerId) const;

    QList<Timer> _timers;
    quint64 _order = 0;
};
