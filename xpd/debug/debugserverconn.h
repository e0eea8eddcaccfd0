// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>

class QObject;
class QSocketNotifier;

/// One connection of the debug server: its descriptor, its notifier and the line being received.
class DebugServerConn
{
public:
    /// Takes over `descriptor`. The notifier's parent is `server`, which has to live longer.
    DebugServerConn(int descriptor, QObject *server);
    ~DebugServerConn();
    DebugServerConn(const DebugServerConn &) = delete;
    DebugServerConn &operator=(const DebugServerConn &) = delete;

    /// Closes the descriptor and ends the notifier; again: nothing.
    void close();
    /// Stops or resumes the reports that the descriptor can be read.
    void setListening(bool on);

    const int key; ///< the descriptor when it was accepted, also after the close
    int fd;        ///< -1 once closed
    QByteArray rx;
    QSocketNotifier *notifier; ///< owned; null once closed
    bool closed = false;       ///< to be removed by the next reaping
};
