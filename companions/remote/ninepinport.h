// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "companions/remote/deck/orderqueue.h"
#include "companions/remote/ninepin/ninepinparser.h"
#include "companions/remote/remoteconfig.h"
#include "companions/remote/remoteport.h"
#include "companions/remote/sockets.h"

/// A deck on a 9-pin line: a terminal, which is opened again when it comes back, or a TCP port with one
/// controller and listeners. The one that is there first operates; a listener's questions are answered, its
/// commands are not known. When the controller goes, the eldest listener is it.
class NinepinPort : public RemotePort
{
public:
    static constexpr std::size_t mostPeers = 8;

    NinepinPort(const RemotePortConfig &config, RemoteContext &context);
    ~NinepinPort() override;

    void wants(std::vector<pollfd> &polls) const override;
    void ready(const pollfd &event) override;
    std::optional<qint64> deadline() const override;
    void look() override;
    QString place() const override { return _config.place; }
    QString problem() const override { return _problem; }

private:
    struct Peer;

    void open();
    void add(RemoteFd fd, const QString &name, NinepinParser::Limits limits);
    void accept();
    void read(Peer &peer);
    void remove(const Peer &peer);
    Who whoIs(const QString &peer) const;
    void reply(Peer &peer, const QByteArray &bytes);
    void block(Peer &peer, const NinepinBlock &block);
    void bad(Peer &peer, NinepinFault fault);
    void order(const DeckOrder &order);
    void hand(const DeckOrder &order);

    const RemotePortConfig _config;
    RemoteContext &_context;
    NinepinSession _session;
    OrderQueue _orders;
    RemoteFd _listener;
    ReadPace _calls{ReadPace::mostCalls};
    std::vector<std::unique_ptr<Peer>> _peers; ///< the first one operates
    Who _who;                                  ///< of the controller
    std::optional<qint64> _openAt;
    QString _problem; ///< as told last
    qint64 _readAt = 0;
    const std::shared_ptr<bool> _alive = std::make_shared<bool>(true);
};
