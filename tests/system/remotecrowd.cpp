// SPDX-License-Identifier: GPL-3.0-or-later
// All that the ports serve at once, inside a sandbox, while a take runs: four terminals, eight subscribers,
// 32 line clients; then the same with a port that is flooded and with one whose cable is pulled. Ports:
// /dev/shm/tty0 to /dev/shm/tty3, line tcp:9993, osc udp:9000.
#include "tests/ninepincontroller/ninepincontroller.h"

#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <thread>
#include <vector>

#include <arpa/inet.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {
using Clock = std::chrono::steady_clock;
constexpr int terminals = 4, subscribers = 8, lineClients = 32;
constexpr int rounds = 250; ///< of questions, a field of 50 apart

bool await(const std::function<bool()> &holds)
{
    const auto end = Clock::now() + std::chrono::seconds(20);
    while (!holds()) {
        if (Clock::now() > end) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return true;
}

QJsonObject status()
{
    QProcess program;
    program.start("xpctl", {"--json", "status"});
    program.waitForFinished();
    return QJsonDocument::fromJson(program.readAllStandardOutput()).object();
}

int connected(int type, int port)
{
    const int fd = ::socket(AF_INET, type | SOCK_CLOEXEC, 0);
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons(uint16_t(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return ::connect(fd, reinterpret_cast<const sockaddr *>(&address), sizeof address) == 0 ? fd : -1;
}

/// A descriptor of a client, with what it is owed.
struct Fd
{
    explicit Fd(int one) : fd(one) {}
    ~Fd() { ::close(fd); }
    Fd(const Fd &) = delete;
    Fd &operator=(const Fd &) = delete;
    int fd;
};

class Crowd : public testing::Test
{
protected:
    static QString link(int i) { return QStringLiteral("/dev/shm/tty%1").arg(i); }
    void plug(int i)
    {
        QString path;
        decks[size_t(i)] = std::make_unique<NinepinController>(NinepinController::terminal(path));
        QFile::remove(link(i));
        ASSERT_TRUE(QFile::link(path, link(i)));
        ASSERT_TRUE(await([&] {
            decks[size_t(i)]->send(NinepinController::block(0x0011));
            return decks[size_t(i)]->receive(100).command() == 0x1211;
        })) << i;
        while (!decks[size_t(i)]->receive(50).bytes.isEmpty()) {}
    }
    /// Half of the replies came within so many microseconds; every one came.
    std::int64_t askAll(const std::vector<int> &which)
    {
        std::vector<std::int64_t> times;
        auto next = Clock::now();
        for (int round = 0; round < rounds; ++round) {
            for (const int i : which) {
                const NinepinReply reply = decks[size_t(i)]->ask(0x6020, QByteArray(1, 10));
                if (!reply.sumIsRight || reply.bytes.size() != 13) ++missing;
                times.push_back(reply.microseconds);
            }
            for (const auto &client : lines)
                if (::write(client->fd, "ping\n", 5) != 5) ++missing;
            for (const auto &client : lines) {
                char answer[16];
                if (::read(client->fd, answer, sizeof answer) != 8) ++missing; // "200 ok\r\n"
            }
            for (size_t i = 0; i < boxes.size(); ++i)
                states[i] += statesOf(*boxes[i]);
            next += std::chrono::milliseconds(20);
            std::this_thread::sleep_until(next);
        }
        std::sort(times.begin(), times.end());
        return times[times.size() / 2];
    }
    int statesOf(const Fd &box)
    {
        char bytes[8192];
        int count = 0;
        while (::recv(box.fd, bytes, sizeof bytes, MSG_DONTWAIT) > 0)
            ++count;
        return count;
    }

    std::array<std::unique_ptr<NinepinController>, terminals> decks;
    std::vector<std::unique_ptr<Fd>> lines, boxes;
    std::array<int, subscribers> states{};
    int missing = 0;
};

TEST_F(Crowd, everybodyIsServedAndNobodyPaysForAnother)
{
    for (int i = 0; i < terminals; ++i)
        plug(i);
    for (int i = 0; i < lineClients; ++i)
        lines.push_back(std::make_unique<Fd>(connected(SOCK_STREAM, 9993)));
    for (int i = 0; i < subscribers; ++i) {
        boxes.push_back(std::make_unique<Fd>(connected(SOCK_DGRAM, 9000)));
        const QByteArray subscribe("/xp/subscribe\0\0\0,i\0\0\0\0\0\x19", 24);
        ::send(boxes.back()->fd, subscribe.constData(), size_t(subscribe.size()), 0);
    }
    // Who closes his half behind his last line gets what he asked for.
    {
        const Fd piped(connected(SOCK_STREAM, 9993));
        ASSERT_EQ(::write(piped.fd, "stop\nmarks\n", 11), 11);
        ::shutdown(piped.fd, SHUT_WR);
        QByteArray answers;
        char bytes[512];
        for (ssize_t size = 0; (size = ::read(piped.fd, bytes, sizeof bytes)) > 0;)
            answers.append(bytes, size);
        EXPECT_TRUE(answers.startsWith("200 ok\r\n1")) << "no clip has marks yet: " << answers.constData();
    }
    QProcess::execute("xpctl", {"record"});
    const qint64 lost = status()["dropped_capture"].toInteger();
    const std::int64_t calm = askAll({0, 1, 2, 3});
    EXPECT_EQ(missing, 0);
    for (const int count : states)
        EXPECT_GT(count, rounds / 4) << "of 25 a second, over five seconds";

    // Bytes without end on the fourth terminal, packets without end from a ninth box, a line without end.
    std::atomic<bool> ends = false;
    std::thread floods([&] {
        const Fd box(connected(SOCK_DGRAM, 9000)), line(connected(SOCK_STREAM, 9993));
        const QByteArray noise(512, '\x55');
        while (!ends) {
            if (::write(decks[3]->fd(), noise.constData(), size_t(noise.size())) < 0) ::usleep(100);
            ::send(box.fd, noise.constData(), size_t(noise.size()), MSG_DONTWAIT);
            ::send(line.fd, noise.constData(), size_t(noise.size()), MSG_DONTWAIT | MSG_NOSIGNAL);
        }
    });
    const std::int64_t flooded = askAll({0, 1, 2});
    ends = true;
    floods.join();
    EXPECT_EQ(missing, 0);
    std::printf("reply to a terminal, half of them within: %lld us, in a flood %lld us\n", (long long)calm,
                (long long)flooded);
    EXPECT_LT(flooded, 2 * calm + 1000);

    // A cable is pulled, and put back.
    decks[0].reset();
    QFile::remove(link(0));
    askAll({1, 2});
    EXPECT_EQ(missing, 0);
    plug(0);
    EXPECT_TRUE(decks[0]->status().isValid());
    const QJsonObject now = status();
    EXPECT_EQ(now["status"], "recording");
    EXPECT_EQ(now["dropped_capture"].toInteger(), lost);
    QProcess::execute("xpctl", {"stop"});
}
} // namespace
