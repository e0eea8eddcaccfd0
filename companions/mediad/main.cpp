// SPDX-License-Identifier: GPL-3.0-or-later
#include "companions/mediad/mediadaemon.h"

#include "platform/product/daemonizer.h"
#include "platform/product/programtext.h"
#include "platform/qmx/core/qmxenvironment.h"
#include "platform/qmx/core/qmxlockfile.h"
#include "platform/qmx/core/qmxlog.h"
#include "platform/qmx/core/qmxplaces.h"
#include "platform/store/config.h"
#include "platform/store/configfactoryimpl.h"

#include <QCoreApplication>

#include <cerrno>
#include <cstdio>
#include <cstring>

namespace {

constexpr int usageStatus = 2;

constexpr ProgramTextRow optionTexts[] = {
    {"--foreground", "stays in the foreground"},
};
constexpr ProgramTextRow fileTexts[] = {
    {"/media", "below it stand the media"},
    {"/etc/xp/store", "address of the configuration store"},
    {"/var/lib/xp/thumbnails", "small pictures of all clips"},
    {"/var/lock/xpmediad.lock", "held while it runs"},
};
constexpr ProgramText text = {
    "xpmediad",
    8,
    "the media daemon of the recorder",
    "[--foreground]",
    "Finds the media below /media, chooses the one that is recorded on and the one that comes next, closes\n"
    "clips that a crash left unfinished, copies and deletes clips for xpctl. It is started by systemd\n"
    "(systemctl start xpmediad). Without --foreground it returns as soon as media are chosen, and goes on "
    "in\n"
    "the background.",
    optionTexts,
    fileTexts,
    "xpctl(1), xpd(8)",
};

void endProgram(int)
{
    QCoreApplication::quit();
}

} // namespace

int main(int argc, char **argv)
{
    if (const std::optional<int> answered = answerBeforeStart(text, argc, argv)) return *answered;
    const bool foreground = argc == 2 && std::strcmp(argv[1], "--foreground") == 0;
    if (argc > 1 && !foreground) {
        std::fputs(text.usage().c_str(), stderr);
        return usageStatus;
    }
    if (!foreground) Daemonizer::daemonize("Xpmediad", endProgram, nullptr, true);
    const QString lockPath = QmxEnvironment::current().places->mediaLock;
    QmxLockFile lock(lockPath);
    if (!lock.lock()) {
        const QByteArray reason = std::strerror(errno);
        const int holder = lock.holder();
        std::fprintf(
            stderr, "Cannot lock %s: %s\n", qPrintable(lockPath),
            holder ? ("the media daemon is running as process " + QByteArray::number(holder)).constData()
                   : reason.constData());
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
