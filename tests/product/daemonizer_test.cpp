// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/support/sendsignal.h"
#include "tests/support/stepper.h"
#include "tests/support/testfiles.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QFile>
#include <QProcess>
#include <QProcessEnvironment>
#include <QRegularExpression>

#include <csignal>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

class Service : public testing::Test
{
protected:
    ~Service() override { process.kill(), process.waitForFinished(); }

    void start(const QString &role, const QString &notifySocket = {})
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.remove("NOTIFY_SOCKET");
        if (!notifySocket.isEmpty()) environment.insert("NOTIFY_SOCKET", notifySocket);
        environment.insert("WATCHDOG_USEC", "100000");
        process.setProcessEnvironment(environment);
        process.setStandardErrorFile(dir.file("err"));
        process.start(QCoreApplication::applicationDirPath() + "/daemon_worker", {role});
    }
    QString told() const { return QString::fromUtf8(readAll(dir.file("err"))); }
    bool hears(const QString &text)
    {
        return Stepper::waitFor([&] { return told().contains(text); }, 20000);
    }
    int servicePid() const { return QRegularExpression("pid (\\d+)").match(told()).captured(1).toInt(); }

    TestDir dir;
    QProcess process;
};

TEST_F(Service, parentEndsAsTheChildThatCannotStartElseStaysUntilTheLoopTurns)
{
    start("fail");
    ASSERT_TRUE(process.waitForFinished(20000));
    EXPECT_EQ(process.exitCode(), 7);
    EXPECT_TRUE(told().contains("cannot start"));
    start("serve");
    ASSERT_TRUE(process.waitForFinished(20000));
    EXPECT_EQ(process.exitCode(), 0);
    EXPECT_TRUE(told().contains("loop begins")); // not before
    const int pid = servicePid();
    ASSERT_GT(pid, 1);
    EXPECT_EQ(::getsid(pid), pid); // on its own
    sendSignal(pid, SIGTERM);
    EXPECT_TRUE(hears("signal 15 on the event loop"));
    EXPECT_TRUE(hears("done"));
}

TEST_F(Service, underAServiceManagerItStaysAndTellsWhenItIsReady)
{
    const QString path = dir.file("notify");
    const int fd = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    qstrncpy(address.sun_path, path.toLocal8Bit().constData(), sizeof address.sun_path);
    ASSERT_EQ(::bind(fd, reinterpret_cast<const sockaddr *>(&address), sizeof address), 0);
    const auto receive = [fd] {
        char buffer[256];
        QByteArray message;
        Stepper::waitFor(
            [&] {
                const ssize_t got = ::recv(fd, buffer, sizeof buffer, 0);
                if (got > 0) message = QByteArray(buffer, got);
                return got > 0;
            },
            20000);
        return message;
    };
    // The event loop feeds the watchdog as long as it turns.
    start("stall", path);
    EXPECT_EQ(receive(), "READY=1\nSTATUS=all is well\n");
    EXPECT_EQ(receive(), "WATCHDOG=1\n");
    EXPECT_EQ(receive(), "WATCHDOG=1\n");
    sendSignal(process.processId(), SIGHUP);
    ASSERT_TRUE(hears("loop stands"));
    while (::recv(fd, nullptr, 0, 0) >= 0) {}
    EXPECT_FALSE(
        Stepper::waitFor([fd] { return ::recv(fd, nullptr, 0, 0) >= 0; }, 500)); // five times its time
    process.kill();
    ASSERT_TRUE(process.waitForFinished(20000));

    start("standstill", path); // nor is it fed when a part has stopped that must move
    EXPECT_EQ(receive(), "READY=1\nSTATUS=all is well\n");
    ASSERT_TRUE(hears("The video clock stands still"));
    EXPECT_EQ(receive(), "WATCHDOG=1\n"); // of the time before it stopped
    EXPECT_LT(::recv(fd, nullptr, 0, 0), 0);
    process.kill();
    ASSERT_TRUE(process.waitForFinished(20000));

    start("early", path); // a signal before the loop is kept for it
    EXPECT_EQ(receive(), "READY=1\nSTATUS=all is well\n");
    EXPECT_TRUE(told().contains("loop begins"));
    QByteArray last = receive();
    while (last == "WATCHDOG=1\n")
        last = receive();
    EXPECT_EQ(last, "STOPPING=1\n");
    ASSERT_TRUE(process.waitForFinished(20000));
    EXPECT_EQ(process.exitCode(), 0);
    EXPECT_EQ(servicePid(), QRegularExpression("pid (\\d+)").match(told()).captured(1).toInt());
    EXPECT_TRUE(told().contains("signal 15 on the event loop"));
    ::close(fd);
}

} // namespace
