// SPDX-License-Identifier: GPL-3.0-or-later
#include "companions/ctl/doctor.h"

#include "platform/qmx/core/qmxclock.h"
#include "platform/qmx/core/qmxerror.h"
#include "platform/store/values.h"

#include <QFile>
#include <QFileInfo>
#include <QStorageInfo>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <memory>

#include <fcntl.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {
constexpr qint64 megabyte = 1000 * 1000;

/// Whether the account of the services, if there is one, may write into the folder; by its mode alone.
bool servicesMayWrite(const QString &path)
{
    const passwd *services = getpwnam("xp");
    struct stat status = {};
    if (!services || stat(QFile::encodeName(path).constData(), &status) != 0) return true;
    if (status.st_uid == services->pw_uid) return status.st_mode & S_IWUSR;
    if (status.st_gid == services->pw_gid) return status.st_mode & S_IWGRP;
    return status.st_mode & S_IWOTH;
}

struct Closed
{
    int fd;
    ~Closed() { ::close(fd); }
};

/// Bytes a second, or minus an errno value. What was written is gone when it returns.
double measured(const QString &path)
{
    constexpr size_t block = 4 * 1024 * 1024;
    constexpr int blocks = 32;
    QByteArray name = QFile::encodeName(path) + "/.xp-doctor-XXXXXX";
    const Closed file{::mkostemp(name.data(), O_CLOEXEC)};
    if (file.fd < 0) return -errno;
    ::unlink(name.constData());
    // Past the page cache where the file system allows it, as takes are written.
    ::fcntl(file.fd, F_SETFL, O_DIRECT);
    constexpr size_t alignment = 4096;
    const std::unique_ptr<void, decltype(&std::free)> memory(std::aligned_alloc(alignment, block),
                                                             &std::free);
    if (!memory) return -ENOMEM;
    std::memset(memory.get(), 0x5a, block);
    const auto clock = QmxEnvironment::current().clock;
    const qint64 begin = clock->now();
    for (int i = 0; i < blocks; ++i) {
        const ssize_t written = ::write(file.fd, memory.get(), block);
        if (written != ssize_t(block)) return written < 0 ? -errno : -ENOSPC;
    }
    if (::fdatasync(file.fd) != 0) return -errno;
    return double(block) * blocks * double(QmxClock::nsPerSecond) /
           double(qMax<qint64>(1, clock->now() - begin));
}
} // namespace

Finding checkMedium(const QString &path)
{
    if (path.isEmpty()) {
        return {Finding::Wrong, "no medium is active",
                "mount one below /media, or choose one: xpctl set active_media_path FOLDER"};
    }
    const QStorageInfo storage(path);
    if (!QFileInfo(path).isDir() || !storage.isValid()) {
        return {Finding::Wrong, path + " is not there", "mount the medium, or choose another one"};
    }
    if (storage.isRoot()) {
        return {Finding::Wrong, path + " is no medium but a folder of the system's disk",
                "mount a disk there: takes must not fill the system"};
    }
    if (storage.isReadOnly()) {
        return {Finding::Wrong, path + " is read-only",
                "its file system may be damaged: unmount it, then fsck"};
    }
    if (!servicesMayWrite(path)) {
        return {Finding::Wrong, "the recorder may not write into " + path,
                QStringLiteral("chown xp:xp %1").arg(path)};
    }
    const qint64 percent = storage.bytesAvailable() * 100 / qMax<qint64>(1, storage.bytesTotal());
    const QString found = QStringLiteral("%1: %2 of %3 GB free")
                              .arg(path)
                              .arg(double(storage.bytesAvailable()) / 1e9, 0, 'f', 1)
                              .arg(double(storage.bytesTotal()) / 1e9, 0, 'f', 1);
    if (double(percent) <= MediumLevel::full) {
        return {Finding::Wrong, found + ", too little for a take", "delete clips, or change the medium"};
    }
    return {Finding::Good, found, {}};
}

Finding checkDiskSpeed(const QString &path)
{
    constexpr qint64 needsRoom = 1000 * megabyte;
    // ProRes 422 HQ of 1920x1080 at 50 frames a second, by its published target rate of 367 Mbit/s.
    constexpr double largestTake = 367e6 / 8;
    if (!QFileInfo(path).isDir()) {
        return {Finding::Hint, "not measured: there is no medium", {}};
    }
    if (QStorageInfo(path).bytesAvailable() < needsRoom) {
        return {Finding::Hint, "not measured: less than 1 GB free", {}};
    }
    const double speed = measured(path);
    if (speed < 0) {
        if (-speed == EACCES || -speed == EPERM)
            return {Finding::Hint, "not measured: no right to write into " + path, "ask again as root"};
        return {Finding::Wrong,
                QStringLiteral("cannot write on %1: %2").arg(path, QmxError(int(-speed)).toString()),
                "check or replace the medium"};
    }
    const QString found = QStringLiteral("%1 MB/s; a 1080p50 HQ take needs %2")
                              .arg(speed / 1e6, 0, 'f', 0)
                              .arg(largestTake / 1e6, 0, 'f', 0);
    if (speed < largestTake) return {Finding::Wrong, found, "use a faster medium, or a smaller format"};
    if (speed < 2 * largestTake) return {Finding::Hint, found, "little is left for stalls of the disk"};
    return {Finding::Good, found, {}};
}
