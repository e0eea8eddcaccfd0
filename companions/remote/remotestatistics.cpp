// SPDX-License-Identifier: GPL-3.0-or-later
#include "companions/remote/remotestatistics.h"

#include <QJsonObject>

#include <algorithm>

using namespace std::chrono_literals;

namespace {
constexpr const char *names[] = {"replies",    "orders",      "refusals",    "bad_checksum",
                                 "bad_parity", "bad_overrun", "bad_framing", "bad_timeout",
                                 "undefined",  "malformed",   "dropped"};
static_assert(std::size(names) == RemotePeer::CountCount);
} // namespace

RemotePeer &RemoteStatistics::peer(const QString &port, const QString &peer)
{
    const QString others = QStringLiteral("others");
    const auto find = [&](const QString &wanted) {
        return std::find_if(_peers.begin(), _peers.end(),
                            [&](const auto &one) { return one->port == port && one->name == wanted; });
    };
    auto at = find(peer);
    const bool isFull = _peers.size() >= mostPeers;
    if (at == _peers.end() && isFull) at = find(others);
    if (at != _peers.end()) return **at;
    _peers.push_back(std::make_unique<RemotePeer>());
    _peers.back()->port = port;
    _peers.back()->name = isFull ? others : peer;
    return *_peers.back();
}

QJsonArray RemoteStatistics::toJson() const
{
    QJsonArray peers;
    for (const auto &peer : _peers) {
        QJsonObject object{{"port", peer->port}, {"peer", peer->name}};
        for (int i = 0; i < RemotePeer::CountCount; ++i)
            object[QLatin1String(names[i])] = qint64(peer->counts[std::size_t(i)]);
        object["reply_us_p50"] = qint64(peer->reply.percentile(0.5) / 1us);
        object["reply_us_p99"] = qint64(peer->reply.percentile(0.99) / 1us);
        object["reply_us_p999"] = qint64(peer->reply.percentile(0.999) / 1us);
        object["reply_us_max"] = qint64(peer->reply.maximum() / 1us);
        peers.append(object);
    }
    return peers;
}
