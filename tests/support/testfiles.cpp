// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/support/testfiles.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <csignal>
#include <cstdarg>

#include <arpa/inet.h>
#include <dlfcn.h>
#include <netinet/in.h>
#include <sched.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <unistd.h>

#ifdef __SANITIZE_THREAD__
/// Qt starts programs in a child that shares our memory until it becomes another program. What the thread
/// sanitizer notes of the child would then stand for the thread that called: it gets a memory of its own.
extern "C" int clone(int (*call)(void *), void *stack, int flags, void *argument, ...)
{
    using Clone = int (*)(int (*)(void *), void *, int, void *, ...);
    static const auto next = reinterpret_cast<Clone>(dlsym(RTLD_NEXT, "clone"));
    va_list rest;
    va_start(rest, argument);
    auto *const parentId = va_arg(rest, pid_t *);
    auto *const storage = va_arg(rest, void *);
    auto *const childId = va_arg(rest, pid_t *);
    va_end(rest);
    return next(call, stack, flags & ~(CLONE_VM | CLONE_VFORK), argument, parentId, storage, childId);
}
#endif

static QString placeForTests()
{
    const QString memory = QStringLiteral("/dev/shm");
    return QFileInfo(memory).isWritable() ? memory : QDir::tempPath();
}

TestDir::TestDir() : _dir(placeForTests() + QStringLiteral("/xp-test-XXXXXX"))
{
    EXPECT_TRUE(_dir.isValid()) << _dir.errorString().toStdString();
}

ChildProcess::ChildProcess()
{
    setChildProcessModifier([] { ::prctl(PR_SET_PDEATHSIG, SIGKILL); });
}

ProgramResult runProgram(const QString &program, const QStringList &arguments, int realMs)
{
    ProgramResult result;
    ChildProcess process;
    process.start(program, arguments);
    const bool ended = process.waitForFinished(realMs);
    result.out = process.readAllStandardOutput();
    result.err = process.readAllStandardError();
    // FFmpeg 7 ends a line of values with a comma where a stream has side data.
    if (arguments.contains(QStringLiteral("csv=p=0"))) result.out.replace(",\n", "\n");
    if (!ended) {
        result.err += process.errorString().toUtf8();
        process.kill();
        process.waitForFinished();
    } else if (process.exitStatus() == QProcess::NormalExit) {
        result.status = process.exitCode();
    }
    return result;
}

int freePort(int type)
{
    const int fd = ::socket(AF_INET, type | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    EXPECT_EQ(::bind(fd, reinterpret_cast<sockaddr *>(&address), size), 0);
    EXPECT_EQ(::getsockname(fd, reinterpret_cast<sockaddr *>(&address), &size), 0);
    ::close(fd);
    return ntohs(address.sin_port);
}

QByteArray readAll(const QString &path)
{
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << path.toStdString();
    return file.readAll();
}

void writeAll(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly)) << path.toStdString();
    ASSERT_EQ(file.write(bytes), bytes.size());
}
