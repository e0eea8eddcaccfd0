// SPDX-License-Identifier: GPL-3.0-or-later
// The OSC port on a real socket, at moments that the test chooses.
#include "companions/remote/oscport.h"

#include <gtest/gtest.h>

#include <utility>

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
        answered(Answer::done());
    }
    void listClips(Clips) override {}
    RemoteStatistics &statistics() override { return counts; }

    qint64 time = 100 * second;
    QList<DeckOrder> orders;
    Who asked;
    std::shared_ptr<const DeckState> deck = std::make_shared<DeckState>();
    RemoteStatistics counts;
};

/// A fader box.
class Box
{
public:
    Box()
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
    void send(const QByteArray &bytes) { ::send(_fd, bytes.constData(), size_t(bytes.size()), 0); }
    void collect()
    {
        char bytes[8192];
        while (::recv(_fd, bytes, sizeof bytes, MSG_DONTWAIT) > 0)
            ++_count;
    }
    /// Since it was asked last.
    int received() { return std::exchange(_count, 0); }

private:
    int _count = 0;
    const int _fd = ::socket(AF_INET, SOCK_DGRAM, 0);
};

/// Ten states a second.
const QByteArray subscribe("/xp/subscribe\0\0\0,i\0\0\0\0\0\x0A", 24);
} // namespace

TEST(OscPort, aSubscriptionEndsAMinuteAfterItsLastRenewal)
{
    Moments moments;
    RemotePortConfig config;
    config.protocol = RemotePortConfig::Protocol::Osc;
    config.place = QStringLiteral("udp:19000");
    config.host = QStringLiteral("127.0.0.1");
    config.port = port;
    config.verbs = Role::View;
    OscPort osc(config, moments);
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
