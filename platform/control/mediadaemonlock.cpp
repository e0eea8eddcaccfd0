// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/control/mediadaemonlock.h"

#include "platform/qmx/core/qmxenvironment.h"
#include "platform/qmx/core/qmxlockfile.h"
#include "platform/qmx/core/qmxplaces.h"

int mediaDaemonPid()
{
    return QmxLockFile(QmxEnvironment::current().places->mediaLock).holder();
}

Answer noMediaDaemon(const QString &consequence)
{
    return Answer::refused(Cause::Daemon, "no_daemon",
                           QStringLiteral("the media daemon is not running") + consequence,
                           "start it with: systemctl start xpmediad (in a checkout: ./xp run)");
}
