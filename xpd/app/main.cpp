// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/product/daemonizer.h"
#include "platform/product/programtext.h"
#include "platform/qmx/core/qmx.h"
#include "platform/qmx/core/qmxenvironment.h"
#include "platform/qmx/core/qmxlockfile.h"
#include "platform/qmx/core/qmxlogexpected.h"
#include "platform/qmx/core/qmxloglevel.h"
#include "platform/qmx/core/qmxplaces.h"
#include "platform/store/configfactoryimpl.h"
#include "platform/store/localcommands.h"
#include "xpd/app/mainobject.h"
#include "xpd/app/qtmessages.h"
#include "xpd/app/signals.h"
#include "xpd/app/startup.h"
#include "xpd/transport/vtrstate.h"

#include <QCoreApplication>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include <unistd.h>

namespace {

constexpr const char *defaultLog = "/xpd.log";
constexpr const char *noLog = "/dev/null";
constexpr int frameworkVersion = 1;
constexpr int niceness = -40;  // the kernel stops at the highest priority there is
constexpr int oomAdjust = -17; // never chosen by the out-of-memory killer

constexpr ProgramTextRow optionTexts[] = {
    {"-d", "does not detach; without -D no signal is handled then, so that one ends a take in its middle"},
    {"-D", "does not detach, handles signals, logs more and offers the debug server"},
    {"-h", "prints these letters and starts all the same; --help does not start"},
    {"-c CLIP", "path of the clip to begin with; its folder becomes the active medium"},
    {"-l", "plays round and round"},
    {"-s", "logs figures each second"},
    {"-b", "measures reading and writing of clips"},
    {"-p", "logs more of each parameter that changes"},
};
constexpr ProgramTextRow fileTexts[] = {
    {"/etc/xp/lumen.ini", "inputs and outputs"},
    {"/etc/xp/store", "address of the configuration store"},
    {"/usr/local/share/media", "the stills that stand in for a lost input"},
    {"/var/lock/xpd.lock", "held while it runs"},
};
constexpr ProgramText textOption = {
    "xpd",
    8,
    "the transport daemon of the recorder",
    "[-dDhlsbp] [-c CLIP]",
    "Records and plays. It is started by systemd (systemctl start xpd) and operated with xpctl, in the\n"
    "group xp; a signal to end closes the take that runs. Without -d and -D it detaches, or, under a\n"
    "service manager, tells it when it is ready.",
    optionTexts,
    fileTexts,
    "xpctl(1), xpmediad(8), xp-stills(8)",
};

bool hasArgument(int argc, char **argv, const char *argument)
{
    for (int i = 0; i < argc; ++i) {
        if (std::strcmp(argv[i], argument) == 0) return true;
    }
    return false;
}

/// Where the log goes: empty for nowhere.
QString logPathFromKernel()
{
    QString path;
    if (readKernelCmdLine(QStringLiteral("xpd_log"), &path) && path.isEmpty())
        path = QString::fromLatin1(defaultLog);
    return path;
}

void raisePriority()
{
    errno = 0;
    if (nice(niceness) == -1 && errno != 0)
        qmxLogOutput(QmxLogLevel::Info, "main", __LINE__, "Running at normal priority: %s\n",
                     std::strerror(errno));
}

void prepareFramework()
{
    Qmx::init(frameworkVersion);
    Qmx::setOOMAdjust(oomAdjust);
    const quint64 pool = memoryPoolSize(Qmx::totalSystemMemorySize());
    qmxLogOutput(QmxLogLevel::Info, "main", __LINE__, "Reserving %llu bytes for memory pool\n", pool);
    Qmx::poolReserve(static_cast<unsigned int>(pool));
}

} // namespace

int main(int argc, char **argv)
{
    if (const std::optional<int> answered = answerBeforeStart(textOption, argc, argv)) return *answered;
    QmxLockFile lock(QmxEnvironment::current().places->recorderLock);
    const bool debug = hasArgument(argc, argv, "-D");
    const bool noDaemon = hasArgument(argc, argv, "-d");
    const QString logPath = logPathFromKernel();

    const bool detached = !debug && !noDaemon;
    if (detached) Daemonizer::daemonize("Xpd", handleDaemonizerSignal, nullptr, true);
    if (!lock.lock()) {
        std::fprintf(stderr, "Failed to lock lockfile (%s).  It looks like process %d currently owns it\n",
                     lock.filename().toLocal8Bit().constData(), lock.whoHasLock());
        return 1;
    }

    installQtMessageHandler();
    QCoreApplication app(argc, argv);
    if (debug) setupSignals();
    QCoreApplication::setOrganizationName(QStringLiteral("kel"));
    QCoreApplication::setOrganizationDomain(QStringLiteral("kel.example"));
    QCoreApplication::setApplicationName(QStringLiteral("xpd"));

    // Nobody has stills of uncompressed formats, which is what there is before the settings are known.
    qmxLogExpect("vtrobject", "Failed to find loss of video file for", "Uncompressed");
    qmxLogOpenFile(logPath.isEmpty() ? QString::fromLatin1(noLog) : logPath);
    qmxLogOpenDisplay();
    qmxLogSetLevel(debug ? 4 : 2);
    raisePriority();
    prepareFramework();
    registerMetaTypes();

    MainObject mainObject(debug, nullptr);
    const LocalCommands localCommands(GetEventsURI("udp"));
    QMetaObject::invokeMethod(
        &app,
        [] {
            if (exitIsRequested()) QCoreApplication::exit(0);
        },
        Qt::QueuedConnection);
    const int result = QCoreApplication::exec();
    if (detached && result == 0) Daemonizer::setDone();
    return result;
}
