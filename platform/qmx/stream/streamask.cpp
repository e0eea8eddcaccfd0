// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/stream/streamask.h"

#include <QFileInfo>

QString StreamAsk::what() const
{
    return source.isList ? QStringLiteral("a play list of %1 clips").arg(source.entries.size()) : path();
}

QStringList StreamAsk::paths() const
{
    QStringList paths{path()};
    if (!mirrorFolder.isEmpty()) paths.append(mirrorFolder + "/" + QFileInfo(path()).fileName());
    return paths;
}
