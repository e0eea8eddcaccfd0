// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "companions/remote/remoteconfig.h"
#include "companions/remote/remoteport.h"
#include "companions/remote/sockets.h"

#include <list>

/// The line protocol on a TCP port, for many clients. A client's lines are answered in their order; while one
/// waits for its effect the next ones are not read. News for a client that does not read become fewer, not
/// older; one that lets even replies pile up is cut off.
class LinePort : public RemotePort
{
public:
    static constexpr std::size_t mostClients = 40;

    LinePort(const RemotePortConfig &config, RemoteContext &context);
    ~LinePort() override;

    void wants(std::vector<pollfd> &polls) const override;
    void ready(const pollfd &event) override;
    std::optional<qint64> deadline() const override;
    void look() override;
    QString place() const override { return _config.place; }
    QString problem() const override { return _problem; }

private:
    struct Client;

    void open();
    void accept();
    void read(Client &client);
    void line(Client &client, const QString &text);
    void next(Client &client);
    void own(Client &client, const QString &word, const QMap<QString, QString> &arguments);
    void notify(Client &client, const QMap<QString, QString> &arguments);
    void reply(Client &client, const QByteArray &bytes);
    void tellNews(Client &client);
    void removeEnded();

    const RemotePortConfig _config;
    RemoteContext &_context;
    RemoteFd _listener;
    ReadPace _calls{ReadPace::mostCalls};
    std::list<std::unique_ptr<Client>> _clients;
    std::optional<qint64> _openAt;
    QString _problem;      ///< as told last
    quint64 _revision = 0; ///< of the state that clients have been told about
};
