// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QObject>
#include <QString>

#include <memory>

class QSocketNotifier;
class StoreClient;

/// A way to end a take that needs no store: a socket of this machine, which only the account of the service
/// and its group may write to. What comes reaches the listeners of the store's client as the change of
/// transport_command that the store would have told. Lives on the event loop, and calls the listeners from
/// it.
///
/// Nothing but a stop is taken: everything else can wait for the store.
class LocalCommands : public QObject
{
public:
    /// Listens for the clients of `uri` in this process. Without its folder there is no socket, which is
    /// logged.
    explicit LocalCommands(const std::string &uri, const QString &path = standardPath());
    ~LocalCommands() override;

    /// From another process: empty when the stop was handed over, else why not.
    static QString sendStop(const QString &path = standardPath());

private:
    static QString standardPath(); ///< QmxPlaces::commandSocket
    void take();

    std::shared_ptr<StoreClient> _client;
    const QString _path;
    int _socket = -1;
    std::unique_ptr<QSocketNotifier> _notifier;
};
