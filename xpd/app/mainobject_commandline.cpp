// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/core/qmxgetopts.h"
#include "platform/qmx/core/qmxverify.h"
#include "xpd/app/mainlog.h"
#include "xpd/app/mainobject.h"
#include "xpd/media/mediamanager.h"
#include "xpd/transport/vtrobject.h"

#include <QCoreApplication>
#include <QThread>
#include <QTimer>

#include <cstdio>

namespace {

constexpr const char *optionLetters = "phbsdDlc:";
constexpr int statisticsConnectLine = 792;
constexpr int statisticsInterval = 1000; // ms

} // namespace

/// The options, in the order of the usage text.
struct MainObject::Options
{
    struct Row
    {
        char letter;
        const char *usage;
        void (*act)(MainObject &main, const QString &argument);
    };

    static void mainFunctionsOption(MainObject &, const QString &) {}

    static void help(MainObject &, const QString &) { printUsage(); }

    static void setClip(MainObject &main, const QString &path)
    {
        main._mediaManager->setActivePath(path.section(QLatin1Char('/'), 0, -2));
        main.setCurrentClip(path.section(QLatin1Char('/'), -1));
    }

    static constexpr int count = 8;
    static const Row rows[count];

    static const Row *find(int letter)
    {
        for (const Row &row : rows) {
            if (row.letter == letter) return &row;
        }
        return nullptr;
    }

    /// Asks for the end of the program too, which has no effect while the event loop does not run yet. (Newer
    /// Qt would not wait for it, but have everything shut down before it is there.)
    static void printUsage()
    {
        std::puts("Usage: xpd [flags]");
        std::puts("Flags:");
        for (const Row &row : rows)
            std::puts(row.usage);
        if (QThread::currentThread()->loopLevel() > 0) QCoreApplication::exit(0);
    }
};

// clang-format off
const MainObject::Options::Row MainObject::Options::rows[count] = {
    {'d', "-d                  Don't daemonize", mainFunctionsOption},
    {'D', "-D                  Debug (will not daemonize)", mainFunctionsOption},
    {'h', "-h                  Print this help screen", help},
    {'c', "-c <path to clip>   Set initial clip file", setClip},
    {'l', "-l                  Enable looped playback",
        [](MainObject &main, const QString &) { main._vtr->setLooping(true); }},
    {'s', "-s                  Log system stats every second",
        [](MainObject &main, const QString &) { main.startStatistics(); }},
    {'b', "-b                  Benchmark the stream (disk) I/O",
        [](MainObject &main, const QString &) { main._vtr->enableStreamBenchmark(); }},
    {'p', "-p                  Log extra config parameters",
        [](MainObject &main, const QString &) { main._logExtraParams = true; }},
};
// clang-format on

void MainObject::parseCommandLine()
{
    const QStringList arguments = QCoreApplication::arguments();
    qmxLogText(QmxLogLevel::Info, mainObjectSource, __LINE__,
               QStringLiteral("Parse Command Line '%1'").arg(arguments.join(QLatin1Char(' '))));

    QmxGetOpts options(arguments);
    while (options.getopt(optionLetters)) {
        if (const Options::Row *row = Options::find(options.opt()))
            row->act(*this, options.arg());
        else
            Options::printUsage();
    }
    if (options.hasError())
        qmxLogText(QmxLogLevel::Error, mainObjectSource, __LINE__,
                   QStringLiteral("Command line parse failure: %1").arg(options.errorString()));
}

void MainObject::startStatistics()
{
    auto *timer = new QTimer(this);
    QMX_VERIFY(mainObjectSource, statisticsConnectLine,
               connect(timer, SIGNAL(timeout()), _vtr, SLOT(logStats())));
    timer->start(statisticsInterval);
}
