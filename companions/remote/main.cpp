// SPDX-License-Identifier: GPL-3.0-or-later
#include "companions/remote/remoteloop.h"

#include "platform/product/daemonizer.h"
#include "platform/product/programtext.h"
#include "platform/qmx/core/qmxlockfile.h"
#include "platform/qmx/core/qmxlog.h"
#include "platform/store/paramdescriptor.h"

#include <QCoreApplication>

#include <cerrno>
#include <cstdio>
#include <cstring>

namespace {
constexpr const char *module = "remote";
constexpr const char *lockPath = "/var/lock/xpremote.lock";
constexpr int usageStatus = 2;

constexpr ProgramTextRow optionTexts[] = {
    {"--foreground", "stays in the foreground"},
};
constexpr ProgramTextRow fileTexts[] = {
    {"/etc/xp/remote.ini", "the ports, a row each"},
    {"/etc/xp/store", "address of the configuration store"},
    {"/var/lock/xpremote.lock", "held while it runs"},
};
constexpr ProgramText text = {
    "xpremote",
    8,
    "the recorder as a deck for other machines",
    "[--foreground]",
    "Lets edit controllers (9-pin over RS-422 or TCP), automation (lines over TCP) and fader boxes (OSC "
    "over\n"
    "UDP) drive the recorder, on the ports of /etc/xp/remote.ini. It is started by systemd (systemctl start\n"
    "xpremote). Without --foreground it returns as soon as the ports are open, and goes on in the "
    "background.",
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
        std::fprintf(
            stderr,
            "usage: xpremote [--foreground]\n"
            "Is the deck that edit controllers, automation and fader boxes drive, on the ports of\n"
            "%s. Without --foreground it returns when they are open, and goes on in the background.\n",
            RemoteConfig::defaultPath);
        return usageStatus;
    }
    if (!foreground) Daemonizer::daemonize("Xpremote", endProgram, nullptr, true);
    QmxLockFile lock(QString::fromLatin1(lockPath));
    if (!lock.lock()) {
        std::fprintf(stderr, "Cannot lock %s: %s%d\n", lockPath,
                     lock.holder() ? "it is held by process " : "no right to, errno ",
                     lock.holder() ? lock.holder() : errno);
        return 1;
    }
    QCoreApplication app(argc, argv);
    qmxLogOpenDisplay();
    qmxLogSetLevel(3);
    const RemoteConfig config = RemoteConfig::load(QString::fromLatin1(RemoteConfig::defaultPath));
    for (const QString &problem : config.problems)
        qmxLogOutput(1, module, __LINE__, "%s: %s\n", RemoteConfig::defaultPath, qPrintable(problem));
    int result = 0;
    {
        const RemoteLoop loop(config);
        result = loop.isRunning() ? QCoreApplication::exec() : 1;
    }
    if (!foreground) Daemonizer::setDone();
    return result;
}
