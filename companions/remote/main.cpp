// SPDX-License-Identifier: GPL-3.0-or-later
#include "companions/remote/remoteloop.h"

#include "platform/product/daemonizer.h"
#include "platform/product/programtext.h"
#include "platform/qmx/core/qmxchannel.h"
#include "platform/qmx/core/qmxenvironment.h"
#include "platform/qmx/core/qmxlockfile.h"
#include "platform/qmx/core/qmxloglevel.h"
#include "platform/qmx/core/qmxplaces.h"
#include "platform/store/paramdescriptor.h"

#include <QCoreApplication>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>

namespace {
constexpr const char *module = "remote";
constexpr int usageStatus = 2;

constexpr ProgramTextRow optionTexts[] = {
    {"--foreground", "stays in the foreground"},
    {"--channel N", "the recorder of this machine that is driven, of several; XP_CHANNEL says the same"},
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
    "[--foreground] [--channel N]",
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
    bool foreground = false;
    QString channel = qEnvironmentVariable("XP_CHANNEL");
    bool isUnderstood = true;
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--foreground") == 0)
            foreground = true;
        else if (std::strcmp(argv[i], "--channel") == 0 && i + 1 < argc)
            channel = QString::fromLocal8Bit(argv[++i]);
        else
            isUnderstood = false;
    }
    if (!isUnderstood) {
        std::fprintf(
            stderr,
            "usage: xpremote [--foreground] [--channel N]\n"
            "Is the deck that edit controllers, automation and fader boxes drive, on the ports of\n"
            "%s. Without --foreground it returns when they are open, and goes on in the background.\n",
            qPrintable(QmxPlaces().remotePorts));
        return usageStatus;
    }
    if (const QString problem = QmxChannel::enter(channel); !problem.isEmpty()) {
        std::fprintf(stderr, "xpremote: %s\n", qPrintable(problem));
        return usageStatus;
    }
    // A peer that has gone is an error of a write, not the end of all ports.
    std::signal(SIGPIPE, SIG_IGN);
    if (!foreground) Daemonizer::daemonize("Xpremote", endProgram, nullptr, true);
    const QmxPlaces places = *QmxEnvironment::current().places;
    QmxLockFile lock(places.remoteLock);
    if (!lock.lock()) {
        const QByteArray reason = std::strerror(errno);
        const int holder = lock.holder();
        std::fprintf(stderr, "Cannot lock %s: %s\n", qPrintable(places.remoteLock),
                     holder ? ("it is held by process " + QByteArray::number(holder)).constData()
                            : reason.constData());
        return 1;
    }
    QCoreApplication app(argc, argv);
    qmxLogOpenDisplay();
    qmxLogSetLevel(3);
    RemoteConfig config = RemoteConfig::load(places.remotePorts);
    config.ports.removeIf([&](const RemotePortConfig &port) { return port.channel != places.channel; });
    for (const QString &problem : config.problems)
        qmxLogOutput(QmxLogLevel::Error, module, __LINE__, "%s: %s\n", qPrintable(places.remotePorts),
                     qPrintable(problem));
    int result = 0;
    {
        const RemoteLoop loop(config);
        result = loop.isRunning() ? QCoreApplication::exec() : 1;
    }
    if (!foreground) Daemonizer::setDone();
    return result;
}
