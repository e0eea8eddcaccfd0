// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

/// The lock of a single instance: a kernel lock on a file that also holds its holder's process id. The
/// kernel frees it with the process, so a file left behind by a dead holder is simply taken over. The
/// file itself stays. One thread.
class QmxLockFile
{
public:
    explicit QmxLockFile(const QString &path);
    ~QmxLockFile();
    QmxLockFile(const QmxLockFile &) = delete;
    QmxLockFile &operator=(const QmxLockFile &) = delete;

    /// Takes the lock without waiting; true when this object has it (already). Says on standard error when
    /// the file is that of an account that has nothing to do with the recorder.
    bool lock();
    QString filename() const { return _path; }
    /// Process id of the holder; 0 when nobody has the lock, when nobody may ask, and while it is not known.
    int whoHasLock() const;
    /// The same, but `unknownHolder` when somebody has it who could not write the process id down (yet).
    int holder() const;
    static constexpr int unknownHolder = -1;

private:
    QString _path;
    int _fd = -1;
};
