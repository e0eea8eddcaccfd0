// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/store/configfactoryimpl.h"
#include "tests/config/privatemachine.h"
#include "tests/support/logcollector.h"
#include "tests/support/print.h"
#include "tests/support/sendsignal.h"
#include "tests/support/stepper.h"
#include "tests/support/testfiles.h"

#include <QElapsedTimer>
#include <QFile>
#include <QProcess>

#include <gtest/gtest.h>

#include <signal.h>
#include <unistd.h>

// The program itself, on real time.

namespace {

const PrivateMachine machine;

constexpr int patience = 20000; // ms of real time

class XpdTest : public ::testing::Test
{
protected:
    XpdTest()
    {
        CreateDescriptors();
        store.reset(ConfigFactoryImpl::GetInstance()->create(GetConfigURI("udp"), "operator", false));
        EXPECT_TRUE(
            store->setUInt(eParam_TransportStatus, 20)); // a killed one before this test leaves it as it was
    }

    static std::unique_ptr<QProcess> start(const QStringList &options)
    {
        auto process = std::make_unique<ChildProcess>();
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("TERM", "dumb");
        process->setProcessEnvironment(environment);
        process->start(XPD_PROGRAM, options);
        EXPECT_TRUE(process->waitForStarted());
        return process;
    }
    unsigned read(eParam_t param)
    {
        unsigned value = 0;
        store->getUInt(param, value);
        return value;
    }
    bool reads(eParam_t param, unsigned value)
    {
        return Stepper::waitFor([&] { return read(param) == value; }, patience);
    }
    /// Waits for the end; the exit status, or minus the signal.
    static int end(QProcess &process)
    {
        EXPECT_TRUE(Stepper::waitFor([&] { return process.state() == QProcess::NotRunning; }, patience));
        return process.exitStatus() == QProcess::CrashExit ? -1 : process.exitCode();
    }
    static void signal(const QProcess &process, int sig) { sendSignal(process.processId(), sig); }
    /// Signals it when nothing has been logged for a while: a handler that comes in the middle of a line of
    /// the log waits for the end of that line for ever.
    static void signalInSilence(QProcess &process, QByteArray &said, int sig)
    {
        constexpr int silenceMs = 100;
        QElapsedTimer silence;
        silence.start();
        const auto isSilent = [&] {
            said += process.readAllStandardOutput();
            const QByteArray log = process.readAllStandardError();
            said += log;
            if (!log.isEmpty()) silence.start();
            return silence.hasExpired(silenceMs);
        };
        EXPECT_TRUE(Stepper::waitFor(isSilent, patience));
        signal(process, sig);
    }
    static bool hasChildren(const QProcess &process)
    {
        const QString id = QString::number(process.processId());
        return !readAll(QStringLiteral("/proc/%1/task/%1/children").arg(id)).trimmed().isEmpty();
    }
    /// Collects what it writes until `text` is there.
    static bool says(QProcess &process, QByteArray &said, const QByteArray &text)
    {
        return Stepper::waitFor(
            [&] {
                said += process.readAllStandardError() + process.readAllStandardOutput();
                return said.contains(text);
            },
            patience);
    }

    std::unique_ptr<Config> store;
};

} // namespace

TEST_F(XpdTest, onlyMinusDLeavesATerminationSignalToNobody)
{
    const auto plain = start({"-d"});
    ASSERT_TRUE(reads(eParam_TransportRunning, 1)) << plain->readAllStandardError().toStdString();
    signal(*plain, SIGTERM);
    EXPECT_EQ(end(*plain), -1);
}

TEST_F(XpdTest, takesItsOptions)
{
    const auto xpd = start({"-D", "-l", "-c", "/media/A/clip.mov", "-x", "-ps"});
    QByteArray said;
    ASSERT_TRUE(says(*xpd, said, "VtrObject is starting..."));
    EXPECT_TRUE(said.contains("xpd -D -l -c /media/A/clip.mov -x -ps'"));
    EXPECT_TRUE(said.contains("Command line parse failure: "));
    EXPECT_TRUE(said.contains("Active Media Path: /media/A"));
    for (const char *line : {"Usage: xpd [flags]\nFlags:\n-d  ", "\n-D  ", "\n-h  ", "\n-c <path to clip>  ",
                             "\n-l  ", "\n-s  ", "\n-b  ", "\n-p  "})
        EXPECT_TRUE(says(*xpd, said, line)) << line;
    std::string clip;
    ASSERT_TRUE(
        Stepper::waitFor([&] { return store->getString(eParam_CurrentClip, clip) && clip == "clip.mov"; }));
    EXPECT_FALSE(said.contains("FAILED: ")) << "a connection, all of which are made with -D";
    // "-p": also what nobody reacts to.
    said.clear();
    ASSERT_TRUE(store->setString(eParam_MediaLabel, "REEL"));
    EXPECT_TRUE(says(*xpd, said, "Changed: [7b03050a] media_label = REEL"));

    ASSERT_TRUE(store->setUInt(eParam_TransportCommand, 15));
    EXPECT_EQ(end(*xpd), 0);
}

TEST_F(XpdTest, inDebugModeSignalsAreIgnoredOrEndItInOrderOrByForce)
{
    QByteArray said;
    const auto polite = start({"-D"});
    ASSERT_TRUE(reads(eParam_TransportStatus, 1));
    const std::pair<int, const char *> ignored[] = {{SIGUSR1, "User defined signal 1"}, {SIGHUP, "Hangup"}};
    for (const auto &[sig, name] : ignored) {
        signalInSilence(*polite, said, sig);
        EXPECT_TRUE(says(*polite, said, QByteArray("Ignoring Signal. ") + name));
    }
    // It still does what it is told.
    ASSERT_TRUE(store->setUInt(eParam_LoopPlayback, 1));
    EXPECT_TRUE(says(*polite, said, "loop_playback"));
    signalInSilence(*polite, said, SIGINT);
    EXPECT_TRUE(says(*polite, said, "VtrObject shutdown complete..."));
    EXPECT_EQ(end(*polite), 0);
    EXPECT_TRUE(said.contains("Exit requested. Interrupt"));
    EXPECT_FALSE(said.contains("Forcing exit."));
    EXPECT_EQ(read(eParam_TransportStatus), 20u);

    // A second one, while the first is being obeyed: with a clock this slow that takes half a minute.
    const QString profile = QStringLiteral("/etc/xp/lumen.ini");
    writeAll(profile, "[device]\nclock=fast:0.02\n");
    const auto impatient = start({"-D"});
    ASSERT_TRUE(reads(eParam_TransportStatus, 1));
    said.clear();
    signalInSilence(*impatient, said, SIGINT);
    ASSERT_TRUE(says(*impatient, said, "Exit requested. Interrupt"));
    // Until the terminal has been restored a further one is lost, as for any program that waits for another.
    EXPECT_TRUE(Stepper::waitFor([&] { return !hasChildren(*impatient); }, patience));
    signalInSilence(*impatient, said, SIGINT);
    EXPECT_EQ(end(*impatient), 1);
    said += impatient->readAllStandardOutput() + impatient->readAllStandardError();
    EXPECT_TRUE(said.contains("Forcing exit. Interrupt"));
    EXPECT_FALSE(said.contains("VtrObject shutdown complete..."));
    QFile::remove(profile);
}

TEST(Programs, answerAboutThemselvesAndRefuseWhatTheyDoNotKnowBeforeAnythingStarts)
{
    for (const char *program : {"xpd", "xpmediad", "xp-stills"}) {
        SCOPED_TRACE(program);
        const QString path = QStringLiteral(XP_PROGRAMS "/") + program;
        const QByteArray name(program);
        const ProgramResult help = runProgram(path, {"-d", "--help"}, 10000);
        EXPECT_EQ(help.status, 0);
        EXPECT_TRUE(help.out.startsWith("usage: " + name + " ")) << help.out.toStdString();
        EXPECT_TRUE(runProgram(path, {"--version"}, 10000).out.startsWith(name + " 0."));
        // Also behind options that it has.
        const ProgramResult wrong = runProgram(path, {"-d", "--no-such"}, 10000);
        EXPECT_EQ(wrong.status, 2);
        EXPECT_TRUE(wrong.out.isEmpty());
        EXPECT_TRUE(wrong.err.startsWith(name + " has no option --no-such, and was not started"))
            << wrong.err.toStdString();
        for (const ProgramResult &answer : {help, wrong})
            EXPECT_FALSE(answer.err.contains("] ")) << "the log: " << answer.err.toStdString();
        const ProgramResult page =
            runProgram("sh", {"-c", path + " --manual | man --warnings -l - 2>&1 >/dev/null"}, 10000);
        EXPECT_TRUE(page.out.isEmpty()) << page.out.toStdString();
    }
}
