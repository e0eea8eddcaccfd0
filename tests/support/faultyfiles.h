// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxenvironment.h"

#include <functional>
#include <map>
#include <memory>
#include <mutex>

/// The current environment on another file system.
inline QmxEnvironment withFiles(std::shared_ptr<QmxFiles> files)
{
    QmxEnvironment environment = QmxEnvironment::current();
    environment.files = std::move(files);
    return environment;
}

/// A file system with faults: passes every call on to another one (the real one), but for those that the
/// test picks. Any thread.
class FaultyFiles : public QmxFiles
{
public:
    enum Call {
        Open,
        Close,
        Pread,
        Pwrite,
        Fdatasync,
        Fsync,
        Ftruncate,
        Fallocate,
        Flock,
        Fstat,
        Stat,
        Statfs,
        Rename,
        Unlink,
        CallCount
    };

    explicit FaultyFiles(std::shared_ptr<QmxFiles> under = std::make_shared<QmxFiles>());

    /// Makes one and puts it into the current environment.
    static std::shared_ptr<FaultyFiles> install();

    /// The n-th call of this kind from now on (1: the next) fails with `error`; `always`: all after it too.
    void failNth(Call call, int n, int error, bool always = false);
    /// The n-th call of any kind from now on fails.
    void failNthOfAll(int n, int error, bool always = false);
    /// The n-th pwrite from now on writes only half of its bytes (and says so).
    void writeHalf(int n);
    /// The n-th call of this kind takes `ns` of the environment's clock before it goes on.
    void stallNth(Call call, int n, qint64 ns);
    /// Calls of this kind hang until release(), as in a kernel that waits for a dead disk.
    void hang(Call call);
    void release();
    /// Threads hanging now.
    int hanging() const;
    /// Everything under `path` is gone: opened files give EIO, names ENOENT; until comeBack().
    void vanish(const QString &path);
    void comeBack();
    /// statfs of anything answers as changed by this.
    void fakeStatfs(std::function<void(const QString &path, struct statfs64 &)> change);
    /// From now on a failed fdatasync or fsync takes with it what had been written to its file since the last
    /// good one, as a kernel does that has given up on a page: the next one succeeds and does not bring it
    /// back.
    void loseOnFailedSync();
    /// Faults hit only what lies under `path` (empty: everything).
    void only(const QString &path);
    /// Calls fail no more; all other faults stay.
    void forgetRules();
    /// No more faults (hanging calls go on).
    void clear();

    /// Calls of a kind so far.
    int count(Call call) const;
    int countOfAll() const;
    qint64 bytesWritten() const;

    int open(const QString &path, int flags, mode_t mode = 0) override
    {
        return fails(Open, path) ? -1 : noteOpened(_under->open(path, flags, mode), path);
    }
    int openAny(const QString &path, int flags, mode_t mode = 0) override
    {
        return fails(Open, path) ? -1 : noteOpened(_under->openAny(path, flags, mode), path);
    }
    int close(int fd) override;
    ssize_t pread(int fd, void *data, size_t size, off64_t offset) override
    {
        return fails(Pread, fd) ? -1 : _under->pread(fd, data, size, offset);
    }
    ssize_t pwrite(int fd, const void *data, size_t size, off64_t offset) override;
    int fdatasync(int fd) override { return sync(Fdatasync, fd); }
    int fsync(int fd) override { return sync(Fsync, fd); }
    int ftruncate(int fd, off64_t size) override
    {
        return fails(Ftruncate, fd) ? -1 : _under->ftruncate(fd, size);
    }
    int fallocate(int fd, int mode, off64_t offset, off64_t length) override
    {
        return fails(Fallocate, fd) ? -1 : _under->fallocate(fd, mode, offset, length);
    }
    int flock(int fd, int operation) override { return fails(Flock, fd) ? -1 : _under->flock(fd, operation); }
    int fstat(int fd, struct stat64 *data) override
    {
        return fails(Fstat, fd) ? -1 : _under->fstat(fd, data);
    }
    int stat(const QString &path, struct stat64 *data) override
    {
        return fails(Stat, path) ? -1 : _under->stat(path, data);
    }
    int statfs(const QString &path, struct statfs64 *data) override;
    int rename(const QString &from, const QString &to) override
    {
        return fails(Rename, from) ? -1 : _under->rename(from, to);
    }
    int renameNew(const QString &from, const QString &to) override
    {
        return fails(Rename, from) ? -1 : _under->renameNew(from, to);
    }
    int unlink(const QString &path) override { return fails(Unlink, path) ? -1 : _under->unlink(path); }

private:
    struct State;
    struct Fate
    {
        int error = 0;
        bool half = false;
    };
    void addRule(Call call, int n, int error, bool always, bool half, qint64 stall);
    Fate enter(Call call, const QString &path, int vanishedError);
    QString pathOf(int fd) const;
    int noteOpened(int fd, const QString &path);
    int sync(Call call, int fd);
    void rememberBefore(int fd, off64_t offset, size_t size);
    bool fails(Call call, const QString &path);
    bool fails(Call call, int fd);
    std::shared_ptr<QmxFiles> _under;
    std::shared_ptr<State> _state;
};
