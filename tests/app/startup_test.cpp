// SPDX-License-Identifier: GPL-3.0-or-later
#include "xpd/app/startup.h"

#include "tests/support/logcollector.h"
#include "tests/support/print.h"
#include "xpd/app/qtmessages.h"
#include "xpd/app/signals.h"

#include <QTextStream>

#include <gtest/gtest.h>

#include <optional>

TEST(Startup, theKernelsWordsAreLookedUpWhole)
{
    const QString untouched = QStringLiteral("untouched");
    const struct
    {
        const char *words;
        std::optional<QString> value; ///< nothing: not there
    } rows[] = {
        {"quiet xpd_log", QString()},
        {"xpd_log= quiet", QString()},
        {"root=/dev/sda1 xpd_log=/tmp/a=b quiet\n", QStringLiteral("/tmp/a=b")},
        {"xpd_log=/first xpd_log=/second", QStringLiteral("/first")},
        {"\t xpd_log=/tabs \n", QStringLiteral("/tabs")},
        {"xpd_logx=1 my_xpd_log=2 XPD_LOG=3 =xpd_log", std::nullopt},
        {"", std::nullopt},
    };
    for (const auto &row : rows) {
        QString words = QString::fromLatin1(row.words);
        QTextStream text(&words);
        QString value = untouched;
        EXPECT_EQ(findKernelWord(text, QStringLiteral("xpd_log"), &value), row.value.has_value())
            << row.words;
        EXPECT_EQ(value, row.value.value_or(untouched)) << row.words;
        text.seek(0);
        EXPECT_EQ(findKernelWord(text, QStringLiteral("xpd_log"), nullptr), row.value.has_value())
            << row.words;
    }
}

TEST(Startup, nearlyHalfOfTheMemoryIsForPictures)
{
    EXPECT_EQ(memoryPoolSize(1'000'000'000), 450'000'000u);
    EXPECT_EQ(memoryPoolSize(99), 44u);
    EXPECT_EQ(memoryPoolSize(Q_UINT64_C(1) << 40), (Q_UINT64_C(1) << 40) * 45 / 100) << "beyond 32 bits";
}

TEST(QtMessages, reachTheLogAtTheirLevel)
{
    allowLog("main");
    installQtMessageHandler();
    qDebug("a debug text");
    qInfo("an information");
    qWarning("a warning with 100%% caf\u00e9");
    qCritical("a critical text");
    QStringList seen;
    for (const QmxLogRecord &record : LogCollector::records()) {
        if (record.source == QStringLiteral("main"))
            seen << QString::number(record.level) + QLatin1Char(' ') + record.text;
    }
    EXPECT_EQ(seen, QStringList({"3 a debug text", "3 an information", "2 a warning with 100% caf\u00e9",
                                 "1 a critical text"}));
    GTEST_FLAG_SET(death_test_style, "threadsafe"); // the log has a thread
    EXPECT_EXIT((qmxLogOpenDisplay(), qFatal("a fatal text")), ::testing::KilledBySignal(SIGABRT),
                "E main:[0-9]+ a fatal text")
        << "in the log before the process goes";
}

TEST(Signals, fatalOnesTellWhereAndAbortOthersAreIgnored)
{
    allowLog("main", QStringLiteral("Ignoring Signal. "));
    setupSignals();
    for (const int sig : {SIGUSR1, SIGHUP, SIGPIPE, SIGTTIN, SIGXFSZ})
        ::raise(sig);
    QStringList lines = LogCollector::texts("main");
    ASSERT_EQ(lines.size(), 5);
    EXPECT_TRUE(lines[0].startsWith(QStringLiteral("Ignoring Signal. User defined signal 1 0x")))
        << lines[0].toStdString();
    EXPECT_TRUE(lines[1].startsWith(QStringLiteral("Ignoring Signal. Hangup ")));

    // What it prints goes to standard output, which is made standard error for the test to read.
    const auto die = [](int sig) {
        ::dup2(STDERR_FILENO, STDOUT_FILENO);
        ::raise(sig);
    };
    for (const int sig : {SIGILL, SIGABRT, SIGBUS, SIGFPE, SIGSEGV, SIGSYS})
        EXPECT_EXIT(die(sig), ::testing::KilledBySignal(SIGABRT),
                    "Aborting\\. (.|\n)*BACKTRACE\n 1: (.|\n)* 2: ")
            << sig;
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT((qmxLogOpenDisplay(), die(SIGSEGV)), ::testing::KilledBySignal(SIGABRT),
                "E main:[0-9]+ Aborting\\. Segmentation fault")
        << "nor only printed";
}
