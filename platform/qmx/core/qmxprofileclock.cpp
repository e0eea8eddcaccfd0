// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/core/qmxprofileclock.h"

#include "platform/qmx/core/qmxenvironment.h"
#include "platform/qmx/core/qmxeventdispatcher.h"
#include "platform/qmx/core/qmxplaces.h"

#include <QCoreApplication>
#include <QFile>

double qmxProfileSpeed(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) return 0;
    constexpr qint64 largest = 1024 * 1024;
    bool inDevice = false;
    double speed = 0;
    for (const QByteArray &raw : file.read(largest).split('\n')) {
        const QByteArray line = raw.trimmed();
        if (line.startsWith('[')) inDevice = line == "[device]";
        const qsizetype equals = line.indexOf('=');
        if (!inDevice || equals < 0 || line.left(equals).trimmed() != "clock") continue;
        const QByteArray value = line.mid(equals + 1).trimmed();
        bool ok = false;
        const double factor = value.startsWith("fast:") ? value.mid(5).toDouble(&ok) : 0;
        speed = ok && factor > 0 ? factor : 0;
    }
    return speed;
}

namespace {

/// An event loop is chosen before the application object exists, and that is before the framework is
/// initialised: so it is done when the program is loaded, and only when the profile asks for it. No threads
/// here: the program may still fork.
const double installed = [] {
    const double speed = qmxProfileSpeed(QmxPlaces().profile);
    if (speed <= 0 || QCoreApplication::instance()) return 0.0;
    QmxEnvironment environment = QmxEnvironment::current();
    environment.clock = std::make_shared<QmxFastClock>(speed);
    QmxEnvironment::setCurrent(environment);
    QCoreApplication::setEventDispatcher(new QmxEventDispatcher(environment.clock));
    return speed;
}();

} // namespace

double qmxInstalledSpeed()
{
    return installed;
}
