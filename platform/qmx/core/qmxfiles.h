// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

#include <sys/stat.h>
#include <sys/statfs.h>
#include <sys/types.h>

/// The system calls through which clips, stills and media are touched. The base class is the real file
/// system; a test hands in a decorator that fails the n-th call, writes half, stalls or reports another
/// free space. Every function follows its system call: -1 and errno on error. Any thread.
class QmxFiles
{
public:
    virtual ~QmxFiles();

    /// A regular file, or a folder with O_DIRECTORY, never by a link (see QmxSafeFile::open()).
    virtual int open(const QString &path, int flags, mode_t mode = 0);
    /// Whatever the name stands for: for places that the operator of the machine has chosen.
    virtual int openAny(const QString &path, int flags, mode_t mode = 0);
    virtual int close(int fd);
    virtual ssize_t pread(int fd, void *data, size_t size, off64_t offset);
    virtual ssize_t pwrite(int fd, const void *data, size_t size, off64_t offset);
    virtual int fdatasync(int fd);
    virtual int fsync(int fd);
    virtual int ftruncate(int fd, off64_t size);
    virtual int fallocate(int fd, int mode, off64_t offset, off64_t length);
    /// Advice as of posix_fadvise(3).
    virtual int fadvise(int fd, off64_t offset, off64_t length, int advice);
    virtual int flock(int fd, int operation);
    virtual int fstat(int fd, struct stat64 *data);
    virtual int stat(const QString &path, struct stat64 *data);
    virtual int statfs(const QString &path, struct statfs64 *data);
    virtual int rename(const QString &from, const QString &to);
    /// A rename that never replaces: EEXIST when there is something of that name.
    virtual int renameNew(const QString &from, const QString &to);
    virtual int unlink(const QString &path);
};
