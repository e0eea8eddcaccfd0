// SPDX-License-Identifier: GPL-3.0-or-later
#include "xpd/debug/debugserverconn.h"

#include <QSocketNotifier>

#include <unistd.h>

DebugServerConn::DebugServerConn(int descriptor, QObject *server)
    : key(descriptor),
      fd(descriptor),
      notifier(new QSocketNotifier(descriptor, QSocketNotifier::Read, server))
{}

DebugServerConn::~DebugServerConn()
{
    close();
}

void DebugServerConn::close()
{
    if (fd < 0) return;
    // A command may close its own connection from inside the notifier's signal, so it dies later; but it
    // must let go of the descriptor before the number can be given out again.
    notifier->setEnabled(false);
    notifier->deleteLater();
    notifier = nullptr;
    ::close(fd);
    fd = -1;
}

void DebugServerConn::setListening(bool on)
{
    if (notifier) notifier->setEnabled(on);
}
