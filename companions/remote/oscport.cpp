// SPDX-License-Identifier: GPL-3.0-or-later
#include "companions/remote/oscport.h"

#include "companions/remote/text/osclanguage.h"
#include "platform/qmx/core/qmxclock.h"
#include "platform/qmx/core/qmxloglevel.h"

#include <QJsonObject>

#include <algorithm>
#include <array>

namespace {
constexpr const char *module = "osc";
constexpr qint64 openEvery = 500 * QmxClock::nsPerMillisecond;
constexpr qint64 subscribedFor = 60 * QmxClock::nsPerSecond;
constexpr int mostPackets = 32; ///< in a window: more than eight fader boxes send
} // namespace

struct OscPort::Peer
{
    explicit Peer(OrderQueue::Hand hand) : orders(std::move(hand)) {}

    sockaddr_storage address{};
    socklen_t size = 0;
    Who who;
    RemotePeer *counts = nullptr;
    OrderQueue orders;
    quint64 lastOrder = 0;
    qint64 heardAt = 0;
    qint64 every = 0; ///< 0: not subscribed
    qint64 nextAt = 0;
    qint64 until = 0;
    const std::shared_ptr<bool> alive = std::make_shared<bool>(true);
};

OscPort::OscPort(const RemotePortConfig &config, RemoteContext &context)
    : _config(config), _context(context), _pace(mostPackets)
{
    open();
}

OscPort::~OscPort() = default;

void OscPort::open()
{
    QString problem;
    _socket = Sockets::bindUdp(_config.host, _config.port, problem);
    _openAt = _socket.isOpen() ? std::nullopt : std::optional(_context.now() + openEvery);
    if (_socket.isOpen())
        qmxLogOutput(QmxLogLevel::Info, module, __LINE__, "%s is open\n", qPrintable(_config.place));
    else if (problem != _problem)
        qmxLogOutput(QmxLogLevel::Warning, module, __LINE__, "%s; it is tried again until it can be\n",
                     qPrintable(problem));
    _problem = problem;
}

void OscPort::wants(std::vector<pollfd> &polls) const
{
    if (_socket.isOpen() && !_pace.pausedUntil(_context.now())) polls.push_back({_socket.fd(), POLLIN, 0});
}

void OscPort::ready(const pollfd &)
{
    std::array<std::uint8_t, OscLanguage::longestPacket + 1> bytes;
    for (int i = 0; i < mostPackets; ++i) {
        sockaddr_storage from{};
        socklen_t size = sizeof from;
        const ssize_t count = recvfrom(_socket.fd(), bytes.data(), bytes.size(), MSG_DONTWAIT,
                                       reinterpret_cast<sockaddr *>(&from), &size);
        if (count < 0) return;
        _pace.took(1, _context.now());
        packet(std::span<const std::uint8_t>(bytes.data(), std::size_t(count)), from, size);
    }
}

void OscPort::packet(std::span<const std::uint8_t> bytes, const sockaddr_storage &from, socklen_t size)
{
    Peer &sender = peer(from, size);
    const qint64 now = _context.now();
    sender.heardAt = now;
    const auto asked = OscLanguage::parse(bytes);
    if (!asked) return sender.counts->add(RemotePeer::Malformed);
    for (const OscLanguage::Asked &one : *asked) {
        switch (one.kind) {
        case OscLanguage::Asked::Verb:
            order(sender, one.verb, one.arguments);
            break;
        case OscLanguage::Asked::Unsubscribe:
            sender.every = 0;
            break;
        case OscLanguage::Asked::Subscribe: {
            const auto subscribed = std::count_if(_peers.begin(), _peers.end(),
                                                  [](const auto &entry) { return entry.second->every > 0; });
            if (sender.every == 0 && std::size_t(subscribed) >= mostSubscribers) {
                sender.counts->add(RemotePeer::Refusals);
                send(sender, OscLanguage::refused(QStringLiteral("subscribe"), QStringLiteral("busy"),
                                                  QStringLiteral("there are as many subscribers as can be")));
                break;
            }
            sender.every = QmxClock::nsPerSecond / one.rate;
            sender.nextAt = now;
            sender.until = now + subscribedFor;
            break;
        }
        }
    }
}

OscPort::Peer &OscPort::peer(const sockaddr_storage &from, socklen_t size)
{
    const QString name = Sockets::textOf(from);
    if (const auto at = _peers.find(name); at != _peers.end()) return *at->second;
    if (_peers.size() >= mostPeers) {
        const auto eldest = std::min_element(_peers.begin(), _peers.end(), [](const auto &a, const auto &b) {
            return std::max(a.second->heardAt, a.second->every > 0 ? a.second->until : 0) <
                   std::max(b.second->heardAt, b.second->every > 0 ? b.second->until : 0);
        });
        _peers.erase(eldest);
    }
    Peer &made = *_peers
                      .emplace(name, std::make_unique<Peer>(
                                         [this, name](const DeckOrder &one) { hand(*_peers.at(name), one); }))
                      .first->second;
    made.address = from;
    made.size = size;
    const QString host = name.section(QLatin1Char(':'), 0, -2);
    made.who = {name, QStringLiteral("osc"), host, QStringLiteral("osc/") + name, _config.verbs};
    made.counts = &_context.statistics().peer(_config.place, host);
    return made;
}

void OscPort::hand(Peer &peer, const DeckOrder &order)
{
    const std::weak_ptr<bool> alive = peer.alive;
    peer.counts->add(RemotePeer::Orders);
    const auto given = [this, &peer, alive, id = order.id] {
        if (!alive.expired()) peer.orders.given(id, _context.now());
    };
    const auto answered = [this, &peer, alive, order](const Answer &answer) {
        if (alive.expired()) return;
        if (!peer.orders.answered({order.id, answer.isDone(), answer.code, answer.sentence}, _context.now()))
            return;
        // (Another one took over: of a fader that is moved each speed does so.)
        const VerbRow *row = findVerb(order.verb);
        if (answer.isDone() && row && !*row->writes)
            return send(peer, OscLanguage::told(order.verb, answer.sentence));
        if (answer.isDone() || answer.kind == Answer::Kind::Superseded) return;
        peer.counts->add(RemotePeer::Refusals);
        send(peer, OscLanguage::refused(order.verb, answer.code, answer.sentence));
    };
    _context.perform(order, peer.who, answered, given);
}

void OscPort::order(Peer &peer, const QString &verb, const QMap<QString, QString> &arguments)
{
    // The daemon drops what it is told while it changes its mode: who waits for the effect says it again. Of
    // steps each one counts, and none is told twice.
    const bool waits = verb != QLatin1String("step");
    const DeckOrder order{verb, arguments, false, waits, ++peer.lastOrder};
    if (!peer.orders.push(order, _context.now())) peer.counts->add(RemotePeer::Dropped);
}

void OscPort::send(Peer &peer, const QByteArray &bytes)
{
    const ssize_t sent = sendto(_socket.fd(), bytes.constData(), size_t(bytes.size()), MSG_DONTWAIT,
                                reinterpret_cast<const sockaddr *>(&peer.address), peer.size);
    peer.counts->add(sent < 0 ? RemotePeer::Dropped : RemotePeer::Replies);
}

std::optional<qint64> OscPort::deadline() const
{
    std::optional<qint64> first = _openAt;
    const auto consider = [&first](qint64 one) {
        if (!first || one < *first) first = one;
    };
    if (const auto until = _pace.pausedUntil(_context.now())) consider(*until);
    for (const auto &[name, peer] : _peers) {
        if (peer->every > 0) consider(peer->nextAt);
        if (const auto retry = peer->orders.deadline()) consider(*retry);
    }
    return first;
}

void OscPort::look()
{
    const qint64 now = _context.now();
    if (_openAt && now >= *_openAt) open();
    QByteArray bytes;
    for (const auto &[name, peer] : _peers) {
        peer->orders.retry(now);
        if (peer->every > 0 && now >= peer->until) peer->every = 0;
        if (peer->every == 0 || now < peer->nextAt) continue;
        peer->nextAt = std::max(peer->nextAt + peer->every, now); // what was missed is not made up for
        if (bytes.isEmpty()) bytes = OscLanguage::state(_context.state()->toJson());
        send(*peer, bytes);
    }
}
