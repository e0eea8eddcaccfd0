// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/store/redisserver.h"
#include "tests/support/testfiles.h"

#include <gtest/gtest.h>

#include <sys/socket.h>

namespace {
constexpr int patience = 20000;
} // namespace

RedisServer::RedisServer()
{
    startAtFreePort();
}

RedisServer::RedisServer(const RedisServer &watched) : _watchedPort(watched._port)
{
    startAtFreePort();
}

void RedisServer::startAtFreePort()
{
    // Somebody else may take the port meanwhile.
    for (int attempt = 0; attempt < 5; ++attempt) {
        _port = freePort(SOCK_STREAM);
        if (tryToStart()) return;
    }
    ADD_FAILURE() << "redis-server does not start: " << _process.errorString().toStdString();
}

RedisServer::~RedisServer()
{
    kill();
}

QStringList RedisServer::arguments() const
{
    const QString port = QString::number(_port);
    if (_watchedPort == 0)
        return {"--port", port, "--bind",       "127.0.0.1", "--dir",         _dir.path(),
                "--save", "",   "--appendonly", "yes",       "--appendfsync", "always"};
    const QString file = _dir.file("sentinel.conf");
    writeAll(file, QStringLiteral("port %1\nbind 127.0.0.1\nsentinel monitor master 127.0.0.1 %2 1\n")
                       .arg(_port)
                       .arg(_watchedPort)
                       .toUtf8());
    return {file, "--sentinel"};
}

bool RedisServer::tryToStart()
{
    _process.setProcessChannelMode(QProcess::MergedChannels);
    _process.start("redis-server", arguments());
    const QByteArray ready = _watchedPort == 0 ? "Ready to accept connections" : "+monitor master";
    QByteArray output;
    while (!output.contains(ready)) {
        if (!_process.waitForReadyRead(patience)) return false;
        output += _process.readAll();
    }
    return true;
}

void RedisServer::start()
{
    ASSERT_TRUE(tryToStart());
}

void RedisServer::kill()
{
    _process.kill();
    _process.waitForFinished();
}

std::string RedisServer::uri(const std::string &recorder) const
{
    const std::string host = "://127.0.0.1:" + std::to_string(_port) + "/";
    return (_watchedPort == 0 ? "redis" + host : "redis-sentinel" + host + "master/") + recorder;
}

QString RedisServer::command(const QStringList &words) const
{
    const ProgramResult result = runProgram("redis-cli", QStringList{"-p", QString::number(_port)} + words);
    EXPECT_EQ(result.status, 0) << result.err.toStdString();
    return QString::fromUtf8(result.out).trimmed();
}
