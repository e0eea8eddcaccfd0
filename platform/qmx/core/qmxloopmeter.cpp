// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/core/qmxloopmeter.h"

#include "platform/qmx/core/qmxcounters.h"

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
    if (std::exchange(_working, false))
        QmxCounters::instance()->raise(QmxCounters::EventLoopLongest,
                                       (_clock->now() - _since) / nsPerMicrosecond);
}
