// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QProcess>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

/// A directory that goes with the test, on a memory file system when there is one (so that it is not on
/// the file system of "/" and costs no disk).
class TestDir
{
public:
    TestDir();
    QString path() const { return _dir.path(); }
    QString file(const QString &name) const { return _dir.filePath(name); }

private:
    QTemporaryDir _dir;
};

/// What an external program did.
struct ProgramResult
{
    int status = -1; ///< exit status; -1: it did not start, crashed or took too long
    QByteArray out;
    QByteArray err;
};

/// A program that ends with this one, also when a test is killed.
class ChildProcess : public QProcess
{
public:
    ChildProcess();
};

/// Runs a program ("ffprobe") to its end, at most `realMs`. Real time; the stepped clock stands still.
ProgramResult runProgram(const QString &program, const QStringList &arguments, int realMs = 60000);
/// A port of this machine that nobody used when it was asked for; `type`: SOCK_STREAM or SOCK_DGRAM.
int freePort(int type);
QByteArray readAll(const QString &path);
void writeAll(const QString &path, const QByteArray &bytes);
