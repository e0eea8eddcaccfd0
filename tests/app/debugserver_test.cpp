// SPDX-License-Identifier: GPL-3.0-or-later
#include "xpd/debug/debugserver.h"

#include "tests/support/logcollector.h"
#include "tests/support/print.h"
#include "tests/support/stepper.h"

#include <QEvent>
#include <QSet>
#include <QSocketNotifier>

#include <gtest/gtest.h>

#include <cerrno>

#include <netinet/in.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <memory>
#include <thread>
#include <vector>

namespace {

constexpr qint16 port = 6502;

/// A connection to the server from outside.
class Client
{
public:
    Client() : _fd(::socket(AF_INET, SOCK_STREAM, 0))
    {
        sockaddr_in address = {};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        address.sin_port = htons(port);
        connected = ::connect(_fd, reinterpret_cast<sockaddr *>(&address), sizeof address) == 0;
    }
    ~Client() { ::close(_fd); }
    void send(const QByteArray &bytes)
    {
        EXPECT_EQ(::write(_fd, bytes.constData(), size_t(bytes.size())), bytes.size());
    }
    void halfClose() { ::shutdown(_fd, SHUT_WR); }
    /// Dies without a goodbye.
    void reset()
    {
        const linger now = {1, 0};
        ::setsockopt(_fd, SOL_SOCKET, SO_LINGER, &now, sizeof now);
        ::close(_fd);
        _fd = -1;
    }
    /// What comes within a while; at the end of the connection an empty text.
    QByteArray receive()
    {
        char buffer[256];
        const ssize_t size = ::read(_fd, buffer, sizeof buffer);
        return QByteArray(buffer, size < 0 ? 0 : size);
    }
    bool connected = false;

private:
    int _fd;
};

class DebugServerTest : public ::testing::Test
{
protected:
    DebugServerTest()
    {
        QObject::connect(&server, &DebugServer::lineReceived, &server, [this](int fd, const QString &line) {
            fds << fd;
            lines << line;
            if (line == QStringLiteral("bye")) server.closeConnection(fd);
        });
        EXPECT_TRUE(server.start(port));
    }
    bool hears(int count)
    {
        return Stepper::waitFor([&] { return lines.size() >= count; });
    }
    DebugServer server{nullptr};
    QStringList lines;
    QList<int> fds;
};

/// Counts how often the sockets of the server are reported.
struct WakeCounter : QObject
{
    explicit WakeCounter(QObject &server)
    {
        for (QSocketNotifier *notifier : server.findChildren<QSocketNotifier *>())
            notifier->installEventFilter(this);
    }
    bool eventFilter(QObject *, QEvent *event) override
    {
        if (event->type() == QEvent::SockAct) ++count;
        return false;
    }
    int count = 0;
};

/// No descriptor left while it lives, but one.
class NoDescriptors
{
public:
    NoDescriptors()
    {
        ::getrlimit(RLIMIT_NOFILE, &_before);
        const int next = ::dup(STDIN_FILENO);
        ::close(next);
        rlimit few = _before;
        few.rlim_cur = rlim_t(next) + 1;
        ::setrlimit(RLIMIT_NOFILE, &few);
    }
    ~NoDescriptors() { ::setrlimit(RLIMIT_NOFILE, &_before); }

private:
    rlimit _before = {};
};

} // namespace

TEST_F(DebugServerTest, cutsWhatItReceivesIntoLines)
{
    Client client;
    ASSERT_TRUE(client.connected);
    client.send("play\r\npl\bay\n\n\b\b\r\none\ntwo\nsplit ");
    ASSERT_TRUE(hears(4));
    client.send("line caf\xc3\xa9\nrest");
    ASSERT_TRUE(hears(5));
    EXPECT_EQ(lines, QStringList({"play", "pay", "one", "two", "split line caf\u00e9"}));

    Client second;
    second.send("of another\n");
    client.send("\n");
    ASSERT_TRUE(hears(7));
    EXPECT_NE(fds[5], fds[6]);
    EXPECT_EQ(QSet<QString>({lines[5], lines[6]}), QSet<QString>({"of another", "rest"}));
}

TEST_F(DebugServerTest, aCommandThatClosesEndsThePacketToo)
{
    Client client;
    client.send("one\nbye\nnever\n");
    ASSERT_TRUE(hears(2));
    EXPECT_EQ(client.receive(), QByteArray()) << "closed at once";
    // The number may be given out again before the old connection is reaped.
    Client next;
    next.send("next\n");
    ASSERT_TRUE(hears(3));
    Stepper::runMs(2500);
    next.send("again\n");
    ASSERT_TRUE(hears(4));
    EXPECT_EQ(lines, QStringList({"one", "bye", "next", "again"}));
    EXPECT_EQ(fds[3], fds[2]);
}

TEST_F(DebugServerTest, aHalfClosedConnectionStaysAndDoesNotSpin)
{
    Client client;
    client.send("status\n");
    client.halfClose();
    ASSERT_TRUE(hears(1));
    WakeCounter wakes(server);
    Stepper::runMs(3500);
    EXPECT_GE(wakes.count, 3) << "looked at again after each reaping";
    EXPECT_LE(wakes.count, 5);
    ASSERT_EQ(::write(fds[0], "late", 4), 4);
    EXPECT_EQ(client.receive(), QByteArray("late"));
    server.closeConnection(fds[0]);
    EXPECT_EQ(client.receive(), QByteArray());
}

TEST_F(DebugServerTest, aConnectionThatBreaksIsReaped)
{
    Client client;
    client.send("one\n");
    ASSERT_TRUE(hears(1));
    ASSERT_EQ(server.findChildren<QSocketNotifier *>().size(), 1);
    client.reset();
    EXPECT_TRUE(Stepper::runUntil([&] { return server.findChildren<QSocketNotifier *>().isEmpty(); }));
    expectLog("debugserver", QStringLiteral("Unknown connection: %1").arg(fds[0]));
    server.connectionReadable(fds[0]);
}

TEST_F(DebugServerTest, startsOnceAndAgainAfterAStop)
{
    expectLog("debugserver", QStringLiteral("Server already running"));
    EXPECT_FALSE(server.start(port));
    expectLog("debugserver", QStringLiteral("Failed to bind: Address already in use"));
    DebugServer other(nullptr);
    EXPECT_FALSE(other.start(port));

    Client client;
    client.send("one\n");
    ASSERT_TRUE(hears(1));
    server.stop();
    EXPECT_EQ(client.receive(), QByteArray());
    EXPECT_FALSE(Client().connected);
    EXPECT_TRUE(other.start(port));
    EXPECT_TRUE(Client().connected);
}

TEST_F(DebugServerTest, takesLinesOfEveryLengthAndBytesOfEveryValue)
{
    Client client;
    QByteArray every;
    for (int value = 0; value < 256; ++value)
        if (value != '\n' && value != '\r' && value != '\b') every.append(char(value));
    QByteArray longLine(10'000'000, 'x');
    // A blocking send needs the server to read meanwhile.
    std::thread sender([&] { client.send(every + "\n" + longLine + "\n"); });
    EXPECT_TRUE(Stepper::waitFor([&] { return lines.size() == 2; }, 20000));
    sender.join();
    ASSERT_EQ(lines.size(), 2);
    EXPECT_EQ(lines[0], QString::fromUtf8(every));
    EXPECT_EQ(lines[1].size(), longLine.size());
    EXPECT_EQ(lines[1].count('x'), longLine.size());
}

TEST_F(DebugServerTest, manyConnectionsAreServedAndThoseThatDoNotReadDelayNobody)
{
    constexpr int many = 200;
    std::vector<std::unique_ptr<Client>> clients;
    const auto everybody = [&] {
        while (clients.size() < many) {
            clients.push_back(std::make_unique<Client>());
            Stepper::deliver();
        }
        for (int i = 0; i < many; ++i)
            clients[size_t(i)]->send("from " + QByteArray::number(i) + "\n");
        return hears(many);
    };
    ASSERT_TRUE(everybody());
    EXPECT_EQ(QSet<QString>(lines.begin(), lines.end()).size(), many);
    EXPECT_EQ(QSet<int>(fds.begin(), fds.end()).size(), many);

    // A reply that nobody takes is lost, not waited for.
    const QByteArray reply(100'000, 'r');
    ssize_t written = 0;
    for (int i = 0; i < 1000 && written >= 0; ++i)
        written = ::write(fds[0], reply.constData(), size_t(reply.size()));
    EXPECT_EQ(written, -1);
    EXPECT_EQ(errno, EAGAIN);
    clients.back()->send("still there\n");
    ASSERT_TRUE(hears(many + 1));

    // Half of them vanish, politely or not, in the middle of a line; the others are served on.
    for (size_t i = 0; i < many / 2; ++i) {
        clients[i]->send("half a li");
        if (i % 2 == 0) clients[i]->reset();
        clients[i].reset();
    }
    WakeCounter wakes(server);
    Stepper::runMs(3500);
    EXPECT_LE(wakes.count, many / 2 * 5) << "the loop spins on those that have gone";
    lines.clear();
    for (size_t i = many / 2; i < many; ++i)
        clients[i]->send("again\n");
    ASSERT_TRUE(hears(many / 2));
}

TEST_F(DebugServerTest, withoutDescriptorsItWaitsAndDoesNotSpin)
{
    Client accepted;
    Stepper::deliver();
    accepted.send("one\n");
    ASSERT_TRUE(hears(1));
    expectLog("debugserver", QStringLiteral("Accept failed: Too many open files"));
    std::unique_ptr<Client> waiting;
    {
        const NoDescriptors none;
        waiting = std::make_unique<Client>();
        Stepper::runMs(3500);
        EXPECT_GE(LogCollector::texts("debugserver").size(), 3) << "tried again after each reaping";
        EXPECT_LE(LogCollector::texts("debugserver").size(), 5);
    }
    waiting->send("two\n");
    Stepper::runMs(1500);
    ASSERT_TRUE(hears(2));
}
