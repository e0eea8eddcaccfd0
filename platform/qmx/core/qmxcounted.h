// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

/// A count with its noun, for people: "1 frame", "25 frames", "1 medium", "2 media".
inline QString qmxCounted(qint64 count, const char *one, const char *many = nullptr)
{
    const QString noun = QString::fromUtf8(count != 1 && many ? many : one);
    return QStringLiteral("%1 %2").arg(count).arg(count == 1 || many ? noun : noun + 's');
}
