// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QString>

#include <functional>

/// Serves figures on a local socket, for those who keep no port open: whoever connects and sends a request
/// (`curl --unix-socket`) gets one answer, one client after the other. The socket's file goes at the end.
///
/// One thread, its creator's. A client may hold it up for a second, no longer.
class MetricsSocket
{
public:
    ~MetricsSocket();
    /// Empty, or why the path cannot be served. A file that a dead server left is replaced, a live one's not.
    QString listen(const QString &path);
    /// Answers with what `text` returns until `ended` says so; asked several times a second.
    void serve(const std::function<QByteArray()> &text, const std::function<bool()> &ended);

private:
    QByteArray _path;
    int _fd = -1;
};
