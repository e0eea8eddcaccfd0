// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/core/qmxtimestamp.h"

#include "platform/qmx/core/qmxenvironment.h"

static constexpr qint64 microsPerSecond = 1'000'000;

QmxTimeStamp::QmxTimeStamp(const timeval &time)
    : _microseconds(qint64(time.tv_sec) * microsPerSecond + time.tv_usec), _valid(true)
{}

QmxTimeStamp QmxTimeStamp::getCurrent()
{
    QmxTimeStamp stamp;
    stamp._microseconds = QmxEnvironment::current().clock->wallTime() / 1000;
    stamp._valid = true;
    return stamp;
}

double QmxTimeStamp::toDouble() const
{
    return double(_microseconds) / double(microsPerSecond);
}
