// SPDX-License-Identifier: GPL-3.0-or-later
#include "companions/ctl/panelfinding.h"

#include "platform/qmx/core/qmxenvironment.h"
#include "platform/qmx/core/qmxplaces.h"
#include "platform/qmx/core/qmxsafefile.h"

#include <QFileInfo>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

namespace {
constexpr auto program = "/usr/bin/xppanel";

/// Somebody listens on that port of this machine.
bool isAnswered(quint16 port)
{
    const int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (fd < 0) return false;
    const timeval within{1, 0};
    setsockopt(fd, SOL_SOCKET, SO_SNDTIMEO, &within, sizeof(within));
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    const bool isThere = connect(fd, reinterpret_cast<const sockaddr *>(&address), sizeof(address)) == 0;
    close(fd);
    return isThere;
}
} // namespace

Finding panelFinding(Recorder &)
{
    const std::shared_ptr<const QmxPlaces> places = QmxEnvironment::current().places;
    const QString address = QString::fromUtf8(QmxSafeFile::line(places->panelAddress));
    const QString start = QStringLiteral("systemctl restart xppanel");
    if (address.isEmpty()) {
        if (!QFileInfo::exists(program)) return {Finding::Good, "not installed", {}};
        return {Finding::Hint, "not running: no page for browsers, no HTTP", start};
    }
    const quint16 port = address.section(':', -1).remove('/').toUShort();
    const bool isHere = address.contains("//127.") || address.contains("//0.0.0.0");
    if (isHere && !isAnswered(port))
        return {Finding::Hint, QStringLiteral("nobody answers at %1").arg(address), start};
    if (!QFileInfo(places->panelToken).isReadable())
        return {Finding::Hint, address + ", but this account gets no address that may operate",
                "add it to the group xp: adduser NAME xp; then log in anew"};
    return {Finding::Good, address, {}};
}
