// SPDX-License-Identifier: GPL-3.0-or-later
#include "companions/mediad/mediadaemon.h"

#include "platform/product/daemonizer.h"
#include "platform/qmx/core/qmxlockfile.h"
#include "platform/qmx/core/qmxlog.h"
#include "platform/store/config.h"
#include "platform/store/configfactoryimpl.h"

#include <QCoreApplication>

#include <cerrno>
#include <cstdio>
#include <cstring>

namespace {

constexpr const char *lockPath = "/var/lock/xpmediad.lock";
constexpr int usageStatus = 2;

void endProgram(int)
{
    QCoreApplication::quit();
}

} // namespace

int main(int argc, char **argv)
{
    const bool foreground = argc == 2 && std::strcmp(argv[1], "--foreground") == 0;
    if (argc > 1 && !foreground) {
        std::fprintf(stderr,
                     "usage: xpmediad [--foreground]\n"
                     "Chooses and watches the media of the recorder. Without --foreground it returns as\n"
                     "soon as media are chosen, and goes on in the background.\n");
        return usageStatus;
    }
    if (!foreground) Daemonizer::daemonize("Xpmediad", endProgram, nullptr, true);
    QmxLockFile lock(QString::fromLatin1(lockPath));
    if (!lock.lock()) {
        std::fprintf(stderr, "Cannot lock %s: %s%d\n", lockPath,
                     lock.whoHasLock() ? "the media daemon is running as process " : "no right to, errno ",
                     lock.whoHasLock() ? lock.whoHasLock() : errno);
        return 1;
    }
    QCoreApplication app(argc, argv);
    qmxLogOpenDisplay();
    qmxLogSetLevel(3);
    CreateDescriptors();
    const std::string uri = GetConfigURI("udp");
    // A client of its own, whose writes are committed when the call returns.
    std::unique_ptr<Config> config(ConfigFactoryImpl::GetInstance()->create(uri, "xpmediad", false));
    if (!config) {
        std::fprintf(
            stderr,
            "xpmediad: the address of the configuration store makes no sense: '%s'; correct the first "
            "line of /etc/xp/store, for example to sqlite:/var/lib/xp/store.db\n",
            uri.c_str());
        return 1;
    }
    const MediaDaemon daemon(std::move(config));
    const int result = QCoreApplication::exec();
    if (!foreground) Daemonizer::setDone();
    return result;
}
