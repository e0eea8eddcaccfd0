// SPDX-License-Identifier: GPL-3.0-or-later
#include "companions/remote/ninepinport.h"

#include "platform/qmx/core/qmxclock.h"
#include "platform/qmx/core/qmxloglevel.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <unistd.h>

namespace {
constexpr const char *module = "ninepin";
constexpr qint64 openEvery = 500 * QmxClock::nsPerMillisecond;
/// Of replies that the other side does not read.
constexpr qsizetype outBound = 4096;
constexpr qint64 mostBytes = 1024; ///< in a window; a line of 38400 baud brings 40

RemotePeer::Count countOf(NinepinFault fault)
{
    switch (fault) {
    case NinepinFault::Checksum:
        return RemotePeer::Checksum;
    case NinepinFault::Parity:
        return RemotePeer::Parity;
    case NinepinFault::Overrun:
        return RemotePeer::Overrun;
    case NinepinFault::Framing:
        return RemotePeer::Framing;
    case NinepinFault::Timeout:
        return RemotePeer::Timeout;
    default:
        return RemotePeer::Undefined;
    }
}
} // namespace

struct NinepinPort::Peer
{
    RemoteFd fd;
    QString name;
    RemotePeer *counts = nullptr;
    NinepinMarks marks;
    std::unique_ptr<NinepinParser> parser;
    OutBuffer out{outBound};
    ReadPace pace{mostBytes};
};

NinepinPort::NinepinPort(const RemotePortConfig &config, RemoteContext &context)
    : _config(config),
      _context(context),
      _session(config.ninepin, [this](const DeckOrder &one) { order(one); }),
      _orders([this](const DeckOrder &one) { hand(one); })
{
    open();
}

NinepinPort::~NinepinPort() = default;

void NinepinPort::open()
{
    QString problem;
    if (_config.device.isEmpty()) {
        _listener = Sockets::listenTcp(_config.host, _config.port, problem);
    } else if (RemoteFd fd = Sockets::openTerminal(_config.device, problem); fd.isOpen()) {
        add(std::move(fd), _config.device, NinepinParser::serial);
    }
    const bool isOpen = problem.isEmpty();
    _openAt = isOpen ? std::nullopt : std::optional(_context.now() + openEvery);
    if (problem == _problem && !isOpen) return;
    _problem = problem;
    if (isOpen)
        qmxLogOutput(QmxLogLevel::Info, module, __LINE__, "%s is open\n", qPrintable(_config.place));
    else
        qmxLogOutput(QmxLogLevel::Warning, module, __LINE__, "%s; it is tried again until it can be\n",
                     qPrintable(problem));
}

void NinepinPort::add(RemoteFd fd, const QString &name, NinepinParser::Limits limits)
{
    auto peer = std::make_unique<Peer>();
    peer->fd = std::move(fd);
    peer->name = name;
    peer->counts = &_context.statistics().peer(_config.place, name.section(QLatin1Char(':'), 0, -2));
    if (!_config.device.isEmpty()) peer->counts = &_context.statistics().peer(_config.place, name);
    Peer *const self = peer.get();
    peer->parser = std::make_unique<NinepinParser>(
        limits, [this, self](const NinepinBlock &one) { block(*self, one); },
        [this, self](NinepinFault fault) { bad(*self, fault); });
    if (_peers.empty()) _who = whoIs(name);
    _peers.push_back(std::move(peer));
}

/// Whoever comes back to the same port from the same machine is the same operator: its take is its own.
Who NinepinPort::whoIs(const QString &peer) const
{
    const QString host = _config.device.isEmpty() ? peer.section(QLatin1Char(':'), 0, -2) : peer;
    return {peer, QStringLiteral("serial"), host, QStringLiteral("serial/%1/%2").arg(_config.place, host),
            _config.verbs};
}

void NinepinPort::wants(std::vector<pollfd> &polls) const
{
    if (_listener.isOpen() && !_calls.pausedUntil(_context.now()))
        polls.push_back({_listener.fd(), POLLIN, 0});
    const qint64 now = _context.now();
    for (const auto &peer : _peers) {
        const bool reads = !peer->pace.pausedUntil(now);
        const bool writes = !peer->out.isEmpty();
        polls.push_back({peer->fd.fd(), short((reads ? POLLIN : 0) | (writes ? POLLOUT : 0)), 0});
    }
}

void NinepinPort::ready(const pollfd &event)
{
    if (event.fd == _listener.fd()) return accept();
    const auto at = std::find_if(_peers.begin(), _peers.end(),
                                 [&event](const auto &peer) { return peer->fd.fd() == event.fd; });
    if (at == _peers.end()) return;
    Peer &peer = **at;
    if (event.revents & POLLOUT && !peer.out.flush(event.fd)) return remove(peer);
    if (event.revents & (POLLIN | POLLHUP | POLLERR)) read(peer);
}

void NinepinPort::accept()
{
    _calls.took(1, _context.now());
    QString name;
    RemoteFd fd = Sockets::accept(_listener.fd(), name);
    if (!fd.isOpen()) return;
    if (_peers.size() >= mostPeers) {
        qmxLogOutput(QmxLogLevel::Warning, module, __LINE__,
                     "%s: %s was turned away: %zu controllers are there\n", qPrintable(_config.place),
                     qPrintable(name), _peers.size());
        return;
    }
    const bool operates = _peers.empty();
    qmxLogOutput(QmxLogLevel::Info, module, __LINE__, "%s: %s has come and %s\n", qPrintable(_config.place),
                 qPrintable(name), operates ? "operates" : "listens");
    add(std::move(fd), name, NinepinParser::network);
}

void NinepinPort::read(Peer &peer)
{
    std::array<std::uint8_t, 512> bytes; // a flood is taken in turns
    const ssize_t count = ::read(peer.fd.fd(), bytes.data(), bytes.size());
    _readAt = _context.now();
    if (count < 0 && (errno == EAGAIN || errno == EINTR)) return;
    if (count <= 0) return remove(peer);
    peer.pace.took(count, _readAt);
    const std::span<const std::uint8_t> read(bytes.data(), size_t(count));
    std::vector<NinepinByte> line;
    if (_config.device.isEmpty())
        std::transform(read.begin(), read.end(), std::back_inserter(line),
                       [](std::uint8_t byte) { return NinepinByte{byte}; });
    else
        peer.marks.feed(read, line);
    peer.parser->feed(line, _readAt);
}

void NinepinPort::remove(const Peer &peer)
{
    const bool operated = _peers.front().get() == &peer;
    qmxLogOutput(QmxLogLevel::Info, module, __LINE__, "%s: %s has gone\n", qPrintable(_config.place),
                 qPrintable(peer.name));
    std::erase_if(_peers, [&peer](const auto &one) { return one.get() == &peer; });
    if (!_config.device.isEmpty()) _openAt = _context.now() + openEvery;
    if (operated && !_peers.empty()) _who = whoIs(_peers.front()->name);
}

void NinepinPort::block(Peer &peer, const NinepinBlock &block)
{
    const bool mayOperate = _config.verbs >= Role::Operate && &peer == _peers.front().get();
    const QByteArray bytes = _session.answer(block, _context.view(), _context.now(), mayOperate);
    const bool isForbidden = !mayOperate && NinepinSession::isCommand(block);
    if (isForbidden) {
        peer.counts->add(RemotePeer::Refusals);
        qmxLogOutput(QmxLogLevel::Warning, module, __LINE__, "%s: a command of %s was refused: %s\n",
                     qPrintable(_config.place), qPrintable(peer.name),
                     _config.verbs < Role::Operate ? "verbs=view stands behind the port" : "it listens");
    } else if (NinepinReplies::isNak(bytes)) {
        peer.counts->add(RemotePeer::Undefined);
    }
    reply(peer, bytes);
}

void NinepinPort::bad(Peer &peer, NinepinFault fault)
{
    peer.counts->add(countOf(fault));
    reply(peer, NinepinReplies::nak(fault));
}

void NinepinPort::reply(Peer &peer, const QByteArray &bytes)
{
    if (!peer.out.write(peer.fd.fd(), bytes)) {
        peer.counts->add(RemotePeer::Dropped);
        return;
    }
    peer.counts->add(RemotePeer::Replies);
    peer.counts->reply.add(QmxClock::Duration(_context.now() - _readAt));
}

std::optional<qint64> NinepinPort::deadline() const
{
    std::optional<qint64> first = _openAt;
    const auto consider = [&first](std::optional<qint64> one) {
        if (one && (!first || *one < *first)) first = one;
    };
    consider(_orders.deadline());
    consider(_calls.pausedUntil(_context.now()));
    for (const auto &peer : _peers) {
        consider(peer->parser->deadline());
        consider(peer->pace.pausedUntil(_context.now()));
    }
    return first;
}

void NinepinPort::look()
{
    const qint64 now = _context.now();
    if (_openAt && now >= *_openAt) open();
    _readAt = now;
    for (const auto &peer : _peers)
        peer->parser->expire(now);
    _session.look(_context.view(), now);
    _orders.retry(now);
}

void NinepinPort::order(const DeckOrder &order)
{
    if (_orders.push(order, _context.now())) return;
    if (!_peers.empty()) _peers.front()->counts->add(RemotePeer::Dropped);
    _session.answered({order.id, false, QStringLiteral("dropped"), {}});
}

void NinepinPort::hand(const DeckOrder &order)
{
    if (!_peers.empty()) _peers.front()->counts->add(RemotePeer::Orders);
    const std::weak_ptr<bool> alive = _alive;
    const auto given = [this, alive, id = order.id] {
        if (!alive.expired()) _orders.given(id, _context.now());
    };
    const auto answered = [this, alive, id = order.id](const Answer &answer) {
        if (alive.expired()) return;
        const DeckAnswer result{id, answer.isDone(), answer.code, answer.sentence};
        if (!_orders.answered(result, _context.now())) return;
        // (Another one took over: of a dial that is turned each speed does so.)
        const bool isRefused = !result.done && answer.kind != Answer::Kind::Superseded;
        if (isRefused && !_peers.empty()) _peers.front()->counts->add(RemotePeer::Refusals);
        _session.answered(result);
    };
    _context.perform(order, _who, answered, given);
}
