// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxlatency.h"

#include <QJsonArray>
#include <QString>

#include <array>
#include <map>
#include <memory>
#include <vector>

/// What is counted of one peer.
struct RemotePeer
{
    /// A row each in remotestatistics.cpp, in this order.
    enum Count {
        Replies,
        Orders,   ///< handed to the recorder
        Refusals, ///< orders that the recorder did not do
        Checksum, ///< bad blocks, by kind
        Parity,
        Overrun,
        Framing,
        Timeout,
        Undefined, ///< commands that are not known or make no sense
        Malformed, ///< lines and packets that cannot be read
        Dropped,   ///< replies, orders or news for which there was no room
        CountCount
    };

    QString port;
    QString name;
    std::array<quint64, CountCount> counts{};
    QmxLatency reply; ///< from the last byte read to the reply written

    void add(Count count) { ++counts[count]; }
};

/// Counts of all peers, of those that have gone as well. One thread.
///
/// With the ports they are published for `xpctl metrics` and `xpctl doctor` as JSON in shared memory
/// (QmxPlaces::remoteFigures), once a second: {"problems": [text], "ports": [{"port", "problem"}], "peers":
/// [{"port", "peer", counts by name, "reply_us_p50" ...}]}.
class RemoteStatistics
{
public:
    static constexpr int size = 64 * 1024;
    /// Peers that are counted each by itself; further ones share a row of their port.
    static constexpr std::size_t mostPeers = 64;

    /// Stays valid as long as this object.
    RemotePeer &peer(const QString &port, const QString &peer);
    QJsonArray toJson() const;

private:
    std::vector<std::unique_ptr<RemotePeer>> _peers;
};
