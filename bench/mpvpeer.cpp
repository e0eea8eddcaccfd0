// SPDX-License-Identifier: GPL-3.0-or-later
#include "bench/mpvpeer.h"

#include <QElapsedTimer>
#include <QFile>
#include <QStringList>
#include <QThread>

#include <cstring>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace {
constexpr int patienceMs = 10000;
}

MpvPeer::~MpvPeer()
{
    if (_socket >= 0) close(_socket);
    if (_program.state() == QProcess::NotRunning) return;
    _program.kill();
    _program.waitForFinished();
}

bool MpvPeer::open(const QString &path)
{
    const QString address = _dir.filePath(QStringLiteral("socket"));
    _program.setStandardOutputFile(QProcess::nullDevice());
    _program.setStandardErrorFile(QProcess::nullDevice());
    _program.start("mpv", {"--no-config", "--pause", "--keep-open", "--no-audio", "--vo=null",
                           "--hr-seek=yes", "--input-ipc-server=" + address, path});
    return _program.waitForStarted() && connectTo(QFile::encodeName(address)) && seek(0).has_value();
}

bool MpvPeer::connectTo(const QByteArray &address)
{
    sockaddr_un place = {};
    place.sun_family = AF_UNIX;
    if (size_t(address.size()) >= sizeof place.sun_path) return false;
    std::memcpy(place.sun_path, address.constData(), size_t(address.size()));
    _socket = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    QElapsedTimer waited;
    waited.start();
    while (::connect(_socket, reinterpret_cast<const sockaddr *>(&place), sizeof place) != 0) {
        if (waited.elapsed() > patienceMs || _program.state() == QProcess::NotRunning) return false;
        QThread::msleep(5);
    }
    return true;
}

std::optional<double> MpvPeer::seek(double seconds)
{
    const QByteArray command =
        "{\"command\":[\"seek\"," + QByteArray::number(seconds, 'f', 4) + ",\"absolute+exact\"]}\n";
    QElapsedTimer timer;
    timer.start();
    if (write(_socket, command.constData(), size_t(command.size())) != command.size()) return {};
    if (!waitForPicture()) return {};
    return double(timer.nsecsElapsed()) / 1e6;
}

/// Until it tells that it has come to where it was sent.
bool MpvPeer::waitForPicture()
{
    for (;;) {
        for (qsizetype end = 0; (end = _received.indexOf('\n')) >= 0;) {
            const QByteArray line = _received.left(end);
            _received.remove(0, end + 1);
            if (line.contains("playback-restart")) return true;
        }
        pollfd waits = {_socket, POLLIN, 0};
        char bytes[4096];
        if (poll(&waits, 1, patienceMs) != 1) return false;
        const ssize_t count = read(_socket, bytes, sizeof bytes);
        if (count <= 0) return false;
        _received.append(bytes, count);
    }
}
