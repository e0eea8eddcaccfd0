// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/store/localcommands.h"

#include "platform/qmx/core/qmxenvironment.h"
#include "platform/qmx/core/qmxloglevel.h"
#include "platform/qmx/core/qmxplaces.h"
#include "platform/store/storeclient.h"

#include <QFile>
#include <QSocketNotifier>

#include <cerrno>
#include <cstring>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace {
constexpr const char *module = "localcommands";
constexpr char stopWord[] = "stop";
constexpr unsigned stopCommand = 4; // of transport_command
constexpr mode_t groupWrites = 0660;

/// False when the path is too long.
bool addressOf(const QString &path, sockaddr_un &address)
{
    const QByteArray name = QFile::encodeName(path);
    address = {};
    address.sun_family = AF_UNIX;
    if (size_t(name.size()) >= sizeof address.sun_path) return false;
    std::memcpy(address.sun_path, name.constData(), size_t(name.size()));
    return true;
}

int openAt(const QString &path)
{
    sockaddr_un address;
    const int fd = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (fd < 0) return -1;
    // (One left behind by a daemon that was killed; that no other one runs, its lock proves.)
    unlink(QFile::encodeName(path).constData());
    // The mode is the socket's before it has a name; the mask takes from it, so it is set once more.
    const bool isOpen = fchmod(fd, groupWrites) == 0 && addressOf(path, address) &&
                        bind(fd, reinterpret_cast<const sockaddr *>(&address), sizeof address) == 0 &&
                        chmod(address.sun_path, groupWrites) == 0;
    if (isOpen) return fd;
    const int reason = errno;
    close(fd);
    errno = reason;
    return -1;
}
} // namespace

QString LocalCommands::standardPath()
{
    return QmxEnvironment::current().places->commandSocket;
}

LocalCommands::LocalCommands(const std::string &uri, const QString &path)
    : _client(StoreClient::acquire(uri, {}, true)), _path(path), _socket(openAt(path))
{
    if (_socket < 0) {
        qmxLogOutput(QmxLogLevel::Warning, module, __LINE__, "Without the store no stop is taken: %s: %s\n",
                     qUtf8Printable(path), std::strerror(errno));
        return;
    }
    _notifier = std::make_unique<QSocketNotifier>(_socket, QSocketNotifier::Read);
    connect(_notifier.get(), &QSocketNotifier::activated, this, [this] { take(); });
}

LocalCommands::~LocalCommands()
{
    _notifier.reset();
    if (_socket < 0) return;
    close(_socket);
    unlink(QFile::encodeName(_path).constData());
}

void LocalCommands::take()
{
    char word[sizeof stopWord] = {};
    const ssize_t size = recv(_socket, word, sizeof word, 0);
    if (size < 0) return;
    const bool isStop =
        size == ssize_t(sizeof stopWord - 1) && std::memcmp(word, stopWord, size_t(size)) == 0;
    qmxLogOutput(isStop ? QmxLogLevel::Info : QmxLogLevel::Warning, module, __LINE__, "%s\n",
                 isStop ? "A stop has come without the store" : "What came is no command");
    if (isStop && _client)
        _client->deliverLocally(eParam_TransportCommand, StoreValue::fromUnsigned(stopCommand));
}

QString LocalCommands::sendStop(const QString &path)
{
    sockaddr_un address;
    const int fd = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    const bool isSent = fd >= 0 && addressOf(path, address) &&
                        sendto(fd, stopWord, sizeof stopWord - 1, MSG_DONTWAIT,
                               reinterpret_cast<const sockaddr *>(&address), sizeof address) > 0;
    const int reason = errno;
    if (fd >= 0) close(fd);
    return isSent ? QString()
                  : QStringLiteral("%1: %2").arg(path, QString::fromLocal8Bit(std::strerror(reason)));
}
