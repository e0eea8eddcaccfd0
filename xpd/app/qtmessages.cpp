// SPDX-License-Identifier: GPL-3.0-or-later
#include "xpd/app/qtmessages.h"

#include "platform/qmx/core/qmxloglevel.h"

#include <QString>

#include <cstdlib>

namespace {

int levelOf(QtMsgType type)
{
    switch (type) {
    case QtWarningMsg:
        return 2;
    case QtCriticalMsg:
    case QtFatalMsg:
        return 1;
    default:
        return 3;
    }
}

/// Qt hands over a context and text in its own encoding.
void adapter(QtMsgType type, const QMessageLogContext &, const QString &message)
{
    localQtMessageHandler(type, message.toLocal8Bit().constData());
}

} // namespace

void localQtMessageHandler(QtMsgType type, const char *msg)
{
    qmxLogText(levelOf(type), "main", __LINE__, QString::fromLocal8Bit(msg));
    if (type != QtFatalMsg) return;
    QmxLog::defaultLog()->flush(); // a thread of its own writes it
    std::abort();
}

void installQtMessageHandler()
{
    qInstallMessageHandler(adapter);
}
