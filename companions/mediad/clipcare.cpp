// SPDX-License-Identifier: GPL-3.0-or-later
#include "companions/mediad/clipcare.h"

#include "companions/mediad/openfile.h"
#include "platform/product/clipmarks.h"
#include "platform/qmx/core/qmxloglevel.h"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>

#include <sys/file.h>

namespace {

constexpr mode_t everybodyWrites = S_IWUSR | S_IWGRP | S_IWOTH;

QmxError refused(const std::string &path, int reason, const QString &why)
{
    return {reason, QStringLiteral("%1 %2").arg(QString::fromLocal8Bit(path), why)};
}

/// Refuses what is protected, recorded or copied; else nobody records or copies it as long as `clip` is open.
QmxError claim(const OpenFile &clip, const std::string &path, const QmxEnvironment &environment)
{
    QmxFiles &files = *environment.files;
    struct stat64 status = {};
    if (!clip.isOpen() || files.fstat(clip.fd(), &status) != 0)
        return refused(path, errno, whyNotOpened(errno));
    if ((status.st_mode & S_IWUSR) == 0)
        return refused(path, EPERM, "is protected; xpctl unprotect it first");
    const auto lock = [&] { return files.flock(clip.fd(), LOCK_EX | LOCK_NB) == 0; };
    if (!tryForAMoment(*environment.clock, lock))
        return refused(path, EWOULDBLOCK, "is being recorded or copied; try again when that has ended");
    return {};
}

/// What was done to the names in its folder survives a power cut.
void keepFolder(const std::string &path, QmxFiles &files)
{
    const OpenFile folder(files, path.substr(0, path.rfind('/')), O_RDONLY | O_DIRECTORY);
    if (folder.isOpen()) files.fsync(folder.fd());
}

/// A clip is what it is without its marks: they hold up nothing.
void marksFollow(const std::string &path, const std::string &target, const QmxEnvironment &environment)
{
    const QmxError error = ClipMarksFile::follow(QString::fromLocal8Bit(path), QString::fromLocal8Bit(target),
                                                 false, environment);
    if (error.isError()) qmxLogText(QmxLogLevel::Warning, "clipcare", __LINE__, error.toString());
}

} // namespace

QmxError protectClip(const std::string &path, bool on, const QmxEnvironment &environment)
{
    const OpenFile clip(*environment.files, path, O_RDONLY);
    struct stat64 status = {};
    if (!clip.isOpen() || environment.files->fstat(clip.fd(), &status) != 0)
        return refused(path, errno, whyNotOpened(errno));
    const mode_t mode = on ? status.st_mode & ~everybodyWrites : status.st_mode | S_IWUSR;
    if (fchmod(clip.fd(), mode & 07777) != 0)
        return refused(path, errno, "cannot be marked: " + QmxError(errno).toString());
    return {};
}

QmxError deleteClip(const std::string &path, const QmxEnvironment &environment)
{
    QmxFiles &files = *environment.files;
    const OpenFile clip(files, path, O_RDONLY);
    if (QmxError error = claim(clip, path, environment); error.isError()) return error;
    if (files.unlink(QString::fromLocal8Bit(path)) != 0)
        return refused(path, errno, "cannot be deleted: " + QmxError(errno).toString());
    marksFollow(path, {}, environment);
    keepFolder(path, files);
    return {};
}

QmxError renameClip(const std::string &path, const std::string &target, const QmxEnvironment &environment)
{
    QmxFiles &files = *environment.files;
    const OpenFile clip(files, path, O_RDONLY);
    if (QmxError error = claim(clip, path, environment); error.isError()) return error;
    // One that came in between is not replaced, where the file system can promise that.
    int result = renameat2(AT_FDCWD, path.c_str(), AT_FDCWD, target.c_str(), RENAME_NOREPLACE);
    if (result != 0 && (errno == EINVAL || errno == ENOSYS)) {
        struct stat64 status = {};
        const bool exists = files.stat(QString::fromLocal8Bit(target), &status) == 0;
        result = exists ? -1 : files.rename(QString::fromLocal8Bit(path), QString::fromLocal8Bit(target));
        if (exists) errno = EEXIST;
    }
    if (result != 0 && errno == EEXIST)
        return refused(target, EEXIST, "is there already; choose another name");
    if (result != 0) return refused(path, errno, "cannot be renamed: " + QmxError(errno).toString());
    marksFollow(path, target, environment);
    keepFolder(path, files);
    return {};
}
