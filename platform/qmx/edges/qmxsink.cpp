// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/edges/qmxsink.h"

QmxSink::~QmxSink() = default;

qint64 QmxSink::dropped() const
{
    return 0;
}
