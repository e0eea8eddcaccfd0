// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/fuzz/fuzz.h"
#include "xpd/debug/debugserver.h"

#include <QCoreApplication>

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

/// What a client sends to the debug server.

void Fuzz::writeSeeds(const QString &folder)
{
    writeSeed(folder, "lines", "play 1.5\r\nstop\ncue 100\b\b\nstatus\n");
}

extern "C" int LLVMFuzzerTestOneInput(const unsigned char *data, std::size_t size)
{
    static int count = 0;
    static char *arguments[] = {nullptr};
    static QCoreApplication application(count, arguments);
    static DebugServer server(nullptr);
    static qint16 port = 0;
    for (qint16 tried = 16502; port == 0 && tried < 16602; ++tried)
        if (server.start(tried)) port = tried;
    const int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(quint16(port));
    Fuzz::mustHold(::connect(fd, reinterpret_cast<sockaddr *>(&address), sizeof address) == 0,
                   "it takes connections");
    ::send(fd, data, size, MSG_NOSIGNAL | MSG_DONTWAIT);
    const linger atOnce = {1, 0};
    for (int turn = 0; turn < 4; ++turn)
        QCoreApplication::processEvents();
    ::setsockopt(fd, SOL_SOCKET, SO_LINGER, &atOnce, sizeof atOnce);
    ::close(fd);
    QCoreApplication::processEvents();
    return 0;
}
