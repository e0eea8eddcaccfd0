// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

#include <memory>

#include <sys/types.h>

/// A named piece of memory that processes share (shm_overview(7)), mapped as long as the object lives; the
/// name stays. A name with a folder in it ("/dev/shm/xp-channels/2/x") is that of a file in memory, as which
/// the segments of another channel are seen from outside.
///
/// What is made is really there: memory that the system promises and has not got (a full /dev/shm) would end
/// the process by a signal when it is touched, so it is refused here, with errno, and whoever wanted it goes
/// on without. One thread.
///
/// Every account of the machine can make names in shared memory, and whoever made a segment can cut it short
/// under all who have it mapped, which ends them by a signal. So only what belongs to root, to this account
/// or to that of the recorder is mapped at all.
class QmxSharedMemory
{
public:
    enum class Existing {
        Keep,   ///< one of that size is taken over with what is in it, so that those who have it mapped go on
        Replace ///< a new one takes its name; those who have the old one mapped see it stand still
    };
    enum class Access { Read, Write };

    /// Null and errno when it cannot be made. `mode` holds whatever the mask of the process is.
    static std::unique_ptr<QmxSharedMemory> make(const QString &name, qsizetype bytes, mode_t mode,
                                                 Existing existing)
    {
        return make(name, bytes, mode, existing, bytes);
    }
    /// The same, and only the first `reserved` bytes are sure to be there: the rest is asked for when it is
    /// needed.
    static std::unique_ptr<QmxSharedMemory> make(const QString &name, qsizetype bytes, mode_t mode,
                                                 Existing existing, qsizetype reserved);
    /// Null when there is none of a trusted account with at least so many bytes; all of it is mapped.
    static std::unique_ptr<QmxSharedMemory> open(const QString &name, Access access, qsizetype least);
    /// Makes sure that a part of an open segment is there; false and errno when the system has no memory for
    /// it.
    static bool reserve(int fd, qsizetype from, qsizetype bytes);

    /// Descriptor of a segment that is there and belongs to a trusted account; -1 and errno, EPERM for that
    /// of another one.
    static int openTrusted(const QString &name, Access access);
    /// Wherever it is, as shm_unlink(3): -1 and errno.
    static int removeName(const QString &name);
    /// The file that a name is: that of a trusted account, if there is one.
    static QString fileOf(const QString &name);

    ~QmxSharedMemory();
    QmxSharedMemory(const QmxSharedMemory &) = delete;
    QmxSharedMemory &operator=(const QmxSharedMemory &) = delete;

    uchar *data() const { return _data; }
    qsizetype size() const { return _size; }
    int descriptor() const { return _fd; }

private:
    QmxSharedMemory(int fd, uchar *data, qsizetype size) : _fd(fd), _data(data), _size(size) {}
    static std::unique_ptr<QmxSharedMemory> makeAt(const QString &file, qsizetype bytes, mode_t mode,
                                                   Existing existing, qsizetype reserved);
    static std::unique_ptr<QmxSharedMemory> map(int fd, qsizetype size, Access access);

    int _fd;
    uchar *_data;
    qsizetype _size;
};
