// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/core/qmxplayhead.h"

#include <QList>

#include <atomic>
#include <mutex>
#include <utility>

struct QmxPlayhead::Private
{
    std::atomic<quint64> origin{0};
    std::atomic<int> sought{0};
    std::atomic<int> position{0};
    std::atomic<bool> still{false};
    quint64 moves = 0;
    bool opening = false;
    QList<std::function<void()>> held;
    std::mutex mutex; ///< of what is below
    QmxTimecode shown;

    void ends(quint64 which)
    {
        if (!opening || which != origin.load()) return;
        opening = false;
        // A flush that waits here counts from where the stream stood before what was sought with it.
        if (held.isEmpty()) position = sought.load();
        const QList<std::function<void()>> callbacks = std::exchange(held, {});
        for (const std::function<void()> &callback : callbacks)
            callback();
    }
};

QmxPlayhead::QmxPlayhead() : d(std::make_unique<Private>()) {}
QmxPlayhead::~QmxPlayhead() = default;

quint64 QmxPlayhead::openBegins()
{
    d->opening = true;
    d->sought = d->position = 0;
    return ++d->origin;
}

void QmxPlayhead::openFails(quint64 origin)
{
    d->ends(origin);
}

void QmxPlayhead::openEnds(quint64 origin)
{
    d->ends(origin);
}

bool QmxPlayhead::isOpening() const
{
    return d->opening;
}

quint64 QmxPlayhead::origin() const
{
    return d->origin;
}

void QmxPlayhead::whenOpened(std::function<void()> callback)
{
    if (d->opening)
        d->held.append(std::move(callback));
    else
        callback();
}

void QmxPlayhead::setPosition(int frame)
{
    d->sought = frame;
    ++d->moves;
}

void QmxPlayhead::settle()
{
    d->position = d->sought.load();
}

quint64 QmxPlayhead::moves() const
{
    return d->moves;
}

int QmxPlayhead::position() const
{
    return d->position;
}

void QmxPlayhead::setTimecodeShown(const QmxTimecode &timecode)
{
    const std::lock_guard lock(d->mutex);
    d->shown = timecode;
}

QmxTimecode QmxPlayhead::timecodeShown() const
{
    const std::lock_guard lock(d->mutex);
    return d->shown;
}

void QmxPlayhead::setStill(bool still)
{
    d->still = still;
}

bool QmxPlayhead::isStill() const
{
    return d->still;
}
