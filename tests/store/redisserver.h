// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "tests/support/testfiles.h"

#include <QStringList>

#include <string>

/// A real server of the test's own, on a free port of this machine and in a directory of its own, that makes
/// every change durable before it answers. Ends with the object.
class RedisServer
{
public:
    RedisServer();
    /// A sentinel that knows where the server is, under the name "master".
    explicit RedisServer(const RedisServer &watched);
    ~RedisServer();

    std::string uri(const std::string &recorder = "one") const;
    QString directory() const { return _dir.path(); }
    QString port() const { return QString::number(_port); }
    /// As a power cut would end it.
    void kill();
    /// Starts it (again), at the same port; returns when it takes commands.
    void start();
    /// Runs a command as a person with a tool would; what it prints.
    QString command(const QStringList &words) const;

private:
    void startAtFreePort();
    bool tryToStart();
    QStringList arguments() const;

    TestDir _dir;
    int _port = 0;
    int _watchedPort = 0; ///< of the server, when this is a sentinel
    ChildProcess _process;
};
