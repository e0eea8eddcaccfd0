// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/edges/qmxnullsink.h"

QString QmxNullSink::statusText() const
{
    return QStringLiteral("%1, %2 frames").arg(_status).arg(_frames.load());
}
