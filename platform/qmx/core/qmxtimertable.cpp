// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/core/qmxtimertable.h"

#include "platform/qmx/core/qmxclock.h"

#include <QCoreApplication>
#include <QTimerEvent>

#include <algorithm>

void QmxTimerTable::add(int timerId, std::chrono::milliseconds interval, Qt::TimerType type, QObject *object,
                        qint64 now)
{
    Timer timer;
    timer.id = timerId;
    timer.interval = interval;
    timer.type = type;
    timer.object = object;
    timer.deadline = now + timer.interval.count();
    timer.order = ++_order;
    _timers.append(timer);
}

bool QmxTimerTable::remove(int timerId)
{
    return _timers.removeIf([timerId](const Timer &timer) { return timer.id == timerId; }) > 0;
}

bool QmxTimerTable::removeAll(QObject *object)
{
    return _timers.removeIf([object](const Timer &timer) { return timer.object == object; }) > 0;
}

QList<QAbstractEventDispatcher::TimerInfo> QmxTimerTable::of(QObject *object) const
{
    QList<QAbstractEventDispatcher::TimerInfo> result;
    for (const Timer &timer : _timers)
        if (timer.object == object)
            result.append({timer.id, int(timer.interval / std::chrono::milliseconds(1)), timer.type});
    return result;
}

QmxTimerTable::Timer *QmxTimerTable::find(int timerId)
{
    const auto found =
        std::find_if(_timers.begin(), _timers.end(), [timerId](const Timer &t) { return t.id == timerId; });
    return found == _timers.end() ? nullptr : &*found;
}

const QmxTimerTable::Timer *QmxTimerTable::find(int timerId) const
{
    return const_cast<QmxTimerTable *>(this)->find(timerId);
}

qint64 QmxTimerTable::deadline(int timerId) const
{
    const Timer *timer = find(timerId);
    return timer ? timer->deadline : never;
}

qint64 QmxTimerTable::firstDeadline() const
{
    qint64 first = never;
    for (const Timer &timer : _timers)
        if (!timer.active) first = qMin(first, timer.deadline);
    return first;
}

bool QmxTimerTable::fire(qint64 now)
{
    struct Due
    {
        qint64 deadline;
        quint64 order;
        int id;
        auto operator<=>(const Due &) const = default;
    };
    QList<Due> due;
    for (const Timer &timer : std::as_const(_timers))
        if (!timer.active && timer.deadline <= now) due.append({timer.deadline, timer.order, timer.id});
    std::sort(due.begin(), due.end());

    for (const Due &entry : std::as_const(due)) {
        Timer *timer = find(entry.id);
        // A receiver before it may have stopped or restarted it, or fired it from a nested loop.
        if (!timer || timer->order != entry.order || timer->active || timer->deadline > now) continue;
        timer->deadline += timer->interval.count();
        if (timer->deadline <= now)
            timer->deadline = now + timer->interval.count(); // no bursts after a stall
        timer->active = true;
        QTimerEvent event(entry.id);
        QCoreApplication::sendEvent(timer->object, &event);
        timer = find(entry.id);
        if (timer && timer->order == entry.order) timer->active = false;
    }
    return !due.isEmpty();
}
