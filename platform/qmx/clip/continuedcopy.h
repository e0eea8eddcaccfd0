// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QFileInfo>
#include <QString>

/// Into so many clips a second copy is parted at most.
constexpr int mostCopyParts = 7;
/// The second copy of a take whose medium fills up goes on on another one, in a clip of this name there:
/// "take_part2.mov" of "take.mov". `part` counts from 2. No rollover asks for such a name.
inline QString continuedCopyName(const QString &clip, int part)
{
    const QFileInfo name(clip);
    return QStringLiteral("%1_part%2.%3").arg(name.completeBaseName()).arg(part).arg(name.suffix());
}
