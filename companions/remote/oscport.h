// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "companions/remote/deck/orderqueue.h"
#include "companions/remote/remoteconfig.h"
#include "companions/remote/remoteport.h"
#include "companions/remote/sockets.h"

#include <map>
#include <span>

#include <sys/socket.h>

/// Open Sound Control on a UDP port. Nobody is told of an order that was done, one that is refused is told to
/// who gave it. Subscribers are sent the state at their rate and forgotten after a minute without renewal.
class OscPort : public RemotePort
{
public:
    static constexpr std::size_t mostSubscribers = 16;
    static constexpr std::size_t mostPeers = 64; ///< that give orders; the eldest is forgotten

    OscPort(const RemotePortConfig &config, RemoteContext &context);
    ~OscPort() override;

    void wants(std::vector<pollfd> &polls) const override;
    void ready(const pollfd &event) override;
    std::optional<qint64> deadline() const override;
    void look() override;
    QString place() const override { return _config.place; }
    QString problem() const override { return _problem; }

private:
    struct Peer;

    void open();
    void packet(std::span<const std::uint8_t> bytes, const sockaddr_storage &from, socklen_t size);
    Peer &peer(const sockaddr_storage &from, socklen_t size);
    void order(Peer &peer, const QString &verb, const QMap<QString, QString> &arguments);
    void hand(Peer &peer, const DeckOrder &order);
    void send(Peer &peer, const QByteArray &bytes);

    const RemotePortConfig _config;
    RemoteContext &_context;
    RemoteFd _socket;
    ReadPace _pace;
    std::map<QString, std::unique_ptr<Peer>> _peers; ///< by address
    std::optional<qint64> _openAt;
    QString _problem; ///< as told last
};
