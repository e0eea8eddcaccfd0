// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/core/qmxeventdispatcher.h"

#include "platform/qmx/core/qmxtimertable.h"

#include <QCoreApplication>
#include <QSocketNotifier>

#include <atomic>
#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>
#include <vector>

namespace {

constexpr qint64 never = QmxTimerTable::never;

short pollEvents(QSocketNotifier::Type type)
{
    return type == QSocketNotifier::Read ? POLLIN : type == QSocketNotifier::Write ? POLLOUT : POLLPRI;
}

/// Conditions that wake a notifier: end and error are told as readable and writable.
short wakingEvents(QSocketNotifier::Type type)
{
    constexpr short broken = POLLHUP | POLLERR;
    return type == QSocketNotifier::Exception ? POLLPRI : short(pollEvents(type) | broken);
}

} // namespace

struct QmxEventDispatcher::Private
{
    std::shared_ptr<QmxClock> clock;
    QmxTimerTable timers;
    QList<QSocketNotifier *> notifiers;
    int wakeFd = -1;
    std::atomic<bool> wake{true}; // something was posted: look before waiting
    std::atomic<bool> interrupted{false};
    int depth = 0;

    void drainWakeUps();
    bool poll(qint64 timeout, bool sockets, std::vector<QSocketNotifier *> *ready);
    bool activateSockets(bool enabled);
};

QmxEventDispatcher::QmxEventDispatcher(std::shared_ptr<QmxClock> clock, QObject *parent)
    : QAbstractEventDispatcher(parent), d(std::make_unique<Private>())
{
    d->clock = std::move(clock);
    d->wakeFd = eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC);
}

QmxEventDispatcher::~QmxEventDispatcher()
{
    ::close(d->wakeFd);
}

std::shared_ptr<QmxClock> QmxEventDispatcher::clock() const
{
    return d->clock;
}

void QmxEventDispatcher::Private::drainWakeUps()
{
    quint64 count = 0;
    while (::read(wakeFd, &count, sizeof(count)) > 0) {}
}

/// Waits up to `timeout` nanoseconds of real time (`never`: without end) for a wake-up or a socket; whether
/// there was one. `ready`: takes the notifiers whose condition holds.
bool QmxEventDispatcher::Private::poll(qint64 timeout, bool sockets, std::vector<QSocketNotifier *> *ready)
{
    std::vector<pollfd> fds{{wakeFd, POLLIN, 0}};
    if (sockets)
        for (const QSocketNotifier *notifier : std::as_const(notifiers))
            fds.push_back({int(notifier->socket()), pollEvents(notifier->type()), 0});
    timespec limit = {};
    if (timeout != never) {
        limit.tv_sec = timeout / QmxClock::nsPerSecond;
        limit.tv_nsec = timeout % QmxClock::nsPerSecond;
    }
    if (ppoll(fds.data(), fds.size(), timeout == never ? nullptr : &limit, nullptr) <= 0) return false;
    if (fds[0].revents & POLLIN) {
        // The flag may have been taken between its being set and this being written: set again, so that
        // nobody is woken by it for ever.
        drainWakeUps();
        wake = true;
    }
    std::vector<QSocketNotifier *> closed;
    for (size_t i = 1; ready && i < fds.size(); ++i) {
        QSocketNotifier *notifier = notifiers[qsizetype(i) - 1];
        if (fds[i].revents & POLLNVAL)
            closed.push_back(notifier);
        else if (fds[i].revents & wakingEvents(notifier->type()))
            ready->push_back(notifier);
    }
    for (QSocketNotifier *notifier : closed) {
        qWarning("A socket notifier watches descriptor %d, which is closed", int(notifier->socket()));
        notifier->setEnabled(false); // or the loop would spin
    }
    return true;
}

bool QmxEventDispatcher::Private::activateSockets(bool enabled)
{
    if (!enabled || notifiers.isEmpty()) return false;
    std::vector<QSocketNotifier *> ready;
    poll(0, true, &ready);
    for (QSocketNotifier *notifier : ready) {
        if (!notifiers.contains(notifier)) continue; // a receiver before it has removed it
        QEvent event(QEvent::SockAct);
        QCoreApplication::sendEvent(notifier, &event);
    }
    return !ready.empty();
}

bool QmxEventDispatcher::poll(qint64 timeout, QEventLoop::ProcessEventsFlags flags)
{
    return d->poll(timeout, !(flags & QEventLoop::ExcludeSocketNotifiers), nullptr);
}

bool QmxEventDispatcher::isPending() const
{
    return d->wake.load() || d->interrupted.load();
}

bool QmxEventDispatcher::isNested() const
{
    return d->depth > 1;
}

qint64 QmxEventDispatcher::firstDeadline(QEventLoop::ProcessEventsFlags flags) const
{
    return flags & QEventLoop::X11ExcludeTimers ? never : d->timers.firstDeadline();
}

bool QmxEventDispatcher::mayWait(QEventLoop::ProcessEventsFlags flags, bool)
{
    return flags & QEventLoop::WaitForMoreEvents;
}

bool QmxEventDispatcher::wait(QEventLoop::ProcessEventsFlags flags)
{
    const qint64 deadline = firstDeadline(flags);
    qint64 timeout = never;
    if (deadline != never)
        timeout = qMax<qint64>(0, qint64(double(deadline - d->clock->now()) / d->clock->speed()) + 1);
    poll(timeout, flags);
    return true;
}

bool QmxEventDispatcher::processEvents(QEventLoop::ProcessEventsFlags flags)
{
    d->interrupted = false;
    ++d->depth;
    const bool sockets = !(flags & QEventLoop::ExcludeSocketNotifiers);
    const bool timers = !(flags & QEventLoop::X11ExcludeTimers);
    const auto work = [&] {
        bool found = d->wake.exchange(false);
        if (found) d->drainWakeUps();
        QCoreApplication::sendPostedEvents();
        if (!d->interrupted) found |= d->activateSockets(sockets);
        if (timers && !d->interrupted) found |= d->timers.fire(d->clock->now());
        return found;
    };

    emit awake();
    bool found = work();
    const bool waits = mayWait(flags, found);
    // What has been posted meanwhile is found at once by the wait: nothing but an interrupt ends this without
    // anything done, or whoever lets time pass would take it for the end of that time.
    if (!found && waits && !d->interrupted) {
        emit aboutToBlock();
        while (!found && !d->interrupted && wait(flags)) {
            emit awake();
            found = work();
        }
    }
    --d->depth;
    return found;
}

void QmxEventDispatcher::registerSocketNotifier(QSocketNotifier *notifier)
{
    d->notifiers.append(notifier);
}

void QmxEventDispatcher::unregisterSocketNotifier(QSocketNotifier *notifier)
{
    d->notifiers.removeAll(notifier);
}

void QmxEventDispatcher::registerTimer(int timerId, qint64 interval, Qt::TimerType type, QObject *object)
{
    d->timers.add(timerId, std::chrono::milliseconds(interval), type, object, d->clock->now());
}

bool QmxEventDispatcher::unregisterTimer(int timerId)
{
    return d->timers.remove(timerId);
}

bool QmxEventDispatcher::unregisterTimers(QObject *object)
{
    return d->timers.removeAll(object);
}

QList<QAbstractEventDispatcher::TimerInfo> QmxEventDispatcher::registeredTimers(QObject *object) const
{
    return d->timers.of(object);
}

int QmxEventDispatcher::remainingTime(int timerId)
{
    const qint64 deadline = d->timers.deadline(timerId);
    if (deadline == never) return -1;
    return int(qMax<qint64>(0, deadline - d->clock->now()) / QmxClock::nsPerMillisecond);
}

void QmxEventDispatcher::wakeUp()
{
    if (!d->wake.exchange(true)) {
        const quint64 one = 1;
        if (::write(d->wakeFd, &one, sizeof(one)) < 0) {
            // Full: it is readable, which is all that is wanted.
        }
    }
}

void QmxEventDispatcher::interrupt()
{
    d->interrupted = true;
    wakeUp();
}
