// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/core/qmxloopmeter.h"

#include "platform/qmx/core/qmxdeck.h"
#include "platform/qmx/core/qmxenvironment.h"

#include <QAbstractEventDispatcher>
#include <QCoreApplication>

QmxLoopMeter::QmxLoopMeter(std::shared_ptr<QmxClock> clock)
    : QObject(QCoreApplication::instance()), _clock(std::move(clock))
{
    QCoreApplication::instance()->installEventFilter(this);
    connect(QAbstractEventDispatcher::instance(), &QAbstractEventDispatcher::aboutToBlock, this,
            &QmxLoopMeter::turnEnds);
}

bool QmxLoopMeter::eventFilter(QObject *, QEvent *)
{
    if (!_working) {
        _working = true;
        _since = _clock->now();
    }
    return false;
}

void QmxLoopMeter::turnEnds()
{
    constexpr qint64 nsPerMicrosecond = 1000;
    const bool worked = std::exchange(_working, false);
    // What was done before the loop waited for the first time is the program's start, not a turn.
    if (std::exchange(_running, true) && worked)
        QmxEnvironment::current().deck->counters.raise(QmxCounters::EventLoopLongest,
                                                       (_clock->now() - _since) / nsPerMicrosecond);
}
