// SPDX-License-Identifier: GPL-3.0-or-later
// Ports on real sockets, at moments that the test chooses.
#include "companions/remote/lineport.h"
#include "companions/remote/oscport.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <utility>
#include <vector>

#include <arpa/inet.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {
constexpr qint64 second = 1'000'000'000;
constexpr quint16 port = 19000;

/// A deck that stands still, and a clock that the test moves.
class Moments : public RemoteContext
{
public:
    DeckView view() override { return {}; }
    std::shared_ptr<const DeckState> state() override { return deck; }
    qint64 now() const override { return time; }
    void perform(const DeckOrder &order, const Who &who, Answered answered, Given) override
    {
        orders.append(order);
        asked = who;
        held = answered;
        if (!holds) answered(Answer::done());
    }
    void listClips(Clips) override {}
    RemoteStatistics &statistics() override { return counts; }

    qint64 time = 100 * second;
    QList<DeckOrder> orders;
    bool holds = false; ///< its answers
    Answered held;      ///< the last of them
    Who asked;
    std::shared_ptr<const DeckState> deck = std::make_shared<DeckState>();
    RemoteStatistics counts;
};

/// A fader box, or a client of the line protocol.
class Box
{
public:
    explicit Box(int type = SOCK_DGRAM) : _fd(::socket(AF_INET, type, 0))
    {
        sockaddr_in address = {};
        address.sin_family = AF_INET;
        address.sin_port = htons(port);
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        ::connect(_fd, reinterpret_cast<const sockaddr *>(&address), sizeof address);
    }
    ~Box() { ::close(_fd); }
    Box(const Box &) = delete;
    Box &operator=(const Box &) = delete;
    void send(const QByteArray &bytes) { ::send(_fd, bytes.constData(), size_t(bytes.size()), MSG_DONTWAIT); }
    void saysNoMore() { ::shutdown(_fd, SHUT_WR); }
    void collect()
    {
        char bytes[8192];
        for (ssize_t size = 0; (size = ::recv(_fd, bytes, sizeof bytes, MSG_DONTWAIT)) > 0; ++_count)
            text.append(bytes, size);
    }
    /// Since it was asked last.
    int received() { return std::exchange(_count, 0); }
    QByteArray text;

private:
    int _count = 0;
    const int _fd;
};

RemotePortConfig configOf(RemotePortConfig::Protocol protocol)
{
    RemotePortConfig config;
    config.protocol = protocol;
    config.place = QStringLiteral("19000");
    config.host = QStringLiteral("127.0.0.1");
    config.port = port;
    config.verbs = Role::View;
    return config;
}

/// Ten states a second.
const QByteArray subscribe("/xp/subscribe\0\0\0,i\0\0\0\0\0\x0A", 24);
} // namespace

TEST(OscPort, aSubscriptionEndsAMinuteAfterItsLastRenewal)
{
    Moments moments;
    OscPort osc(configOf(RemotePortConfig::Protocol::Osc), moments);
    ASSERT_EQ(osc.problem(), QString());
    Box box, renews, leaves;
    const auto pass = [&](qint64 seconds) {
        for (qint64 end = moments.time + seconds * second; moments.time < end; moments.time += second / 20) {
            osc.look();
            for (Box *one : {&box, &renews, &leaves})
                one->collect();
        }
    };
    const auto hear = [&] {
        std::vector<pollfd> polls;
        osc.wants(polls);
        for (const pollfd &one : polls)
            osc.ready(one);
    };
    for (Box *one : {&box, &renews, &leaves})
        one->send(subscribe);
    hear();
    pass(50);
    EXPECT_NEAR(box.received(), 500, 5);
    renews.received(), leaves.received();
    renews.send(subscribe);
    leaves.send(QByteArray("/xp/unsubscribe\0,\0\0\0", 20));
    hear();
    pass(9);
    EXPECT_NEAR(box.received(), 90, 5) << "until its minute is over";
    EXPECT_EQ(leaves.received(), 0);
    pass(2);
    box.received();
    pass(40);
    EXPECT_EQ(box.received(), 0);
    EXPECT_NEAR(renews.received(), 510, 10);
    pass(20);
    renews.received();
    pass(5);
    EXPECT_EQ(renews.received(), 0);
    EXPECT_FALSE(osc.deadline()) << "nothing is left to be done";
    box.send(QByteArray("/xp/stop\0\0\0\0,\0\0\0", 16));
    hear();
    ASSERT_EQ(moments.orders.size(), 1);
    EXPECT_EQ(moments.asked.role, Role::View) << "what the port's row allows goes with every order";
}

TEST(LinePort, aFloodIsReadInTurnsAndNobodyElsePaysForIt)
{
    Moments moments;
    LinePort lines(configOf(RemotePortConfig::Protocol::Line), moments);
    ASSERT_EQ(lines.problem(), QString());
    std::vector<std::unique_ptr<Box>> clients;
    const auto turn = [&](int times = 20) {
        for (; times > 0; --times) {
            std::vector<pollfd> polls;
            lines.wants(polls);
            ::poll(polls.data(), nfds_t(polls.size()), 0);
            for (const pollfd &one : polls)
                if (one.revents != 0) lines.ready(one);
            for (const auto &client : clients)
                client->collect();
        }
    };
    for (; clients.size() < LinePort::mostClients; moments.time += ReadPace::window.count()) {
        for (qint64 call = 0; call < ReadPace::mostCalls; ++call)
            clients.push_back(std::make_unique<Box>(SOCK_STREAM));
        turn();
    }
    Box &flood = *clients.front(), &piped = *clients.back();
    flood.send(QByteArray("ping\n").repeated(4000));
    for (std::size_t i = 1; i + 1 < clients.size(); ++i)
        clients[i]->send("ping\n");
    moments.holds = true;
    piped.send("stop\nstill\n");
    piped.saysNoMore();
    turn();
    moments.holds = false;
    moments.held(Answer::done());
    turn();
    EXPECT_TRUE(std::all_of(clients.begin() + 1, clients.end() - 1,
                            [](const auto &client) { return client->text == "200 ok\r\n"; }));
    EXPECT_EQ(piped.text, "200 ok\r\n200 ok\r\n") << "he is owed the answers to what he said";
    constexpr qsizetype inAWindow = 4096 / 5;
    EXPECT_NEAR(double(flood.text.count('\n')), inAWindow, 1);
    EXPECT_EQ(lines.deadline(), moments.time + ReadPace::window.count());
    moments.time += ReadPace::window.count();
    turn();
    EXPECT_NEAR(double(flood.text.count('\n')), 2 * inAWindow, 2);
}
