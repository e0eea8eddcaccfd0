// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/control/remotefigures.h"

#include "platform/product/shmstring.h"
#include "platform/qmx/core/qmxenvironment.h"
#include "platform/qmx/core/qmxlockfile.h"
#include "platform/qmx/core/qmxplaces.h"

#include <QJsonDocument>

namespace {
QmxPlaces places()
{
    return *QmxEnvironment::current().places;
}
} // namespace

bool RemoteFigures::isRunning()
{
    return QmxLockFile(places().remoteLock).holder() != 0;
}

QJsonObject RemoteFigures::published()
{
    std::string text;
    if (!ShmStringReader(places().remoteFigures.toStdString()).get(text)) return {};
    return QJsonDocument::fromJson(QByteArray::fromStdString(text)).object();
}
