// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QHash>
#include <QObject>
#include <QString>

#include <memory>

class DebugServerConn;
class QSocketNotifier;

/// A line-oriented TCP server for developers and test rigs. Cuts what its connections send into lines and
/// tells each with the connection's descriptor; whoever receives a line answers by writing to it.
///
/// Event loop only, no threads: socket notifiers and one timer. It has no parent; its creator deletes it.
class DebugServer : public QObject
{
    Q_OBJECT

public:
    /// `parent` is not used: the server has to be gone before the other children of its creator.
    explicit DebugServer(QObject *parent);
    ~DebugServer() override;

public slots:
    /// Listens on all interfaces; false, with a line in the log, when that cannot be had or is so already.
    bool start(qint16 port);
    /// Closes all connections and the listening socket.
    void stop();
    /// Closes a connection at once; it leaves the table at the next reaping, within a second.
    void closeConnection(int fd);
    void listenerReadable(int fd);
    void connectionReadable(int fd);

signals:
    /// One line without its end, never empty. Emitted while the received bytes are being cut up, so that a
    /// command that closes its connection ends the rest of the packet too.
    void lineReceived(int fd, const QString &line);

protected:
    void timerEvent(QTimerEvent *event) override;

private:
    void processRx(DebugServerConn &conn, const char *data, int size);
    void reap();

    int _listenFd = -1;
    std::unique_ptr<QSocketNotifier> _listenNotifier;
    /// By the descriptor at the time of accepting.
    QHash<int, std::shared_ptr<DebugServerConn>> _connections;
    int _reapTimer = -1;
};
