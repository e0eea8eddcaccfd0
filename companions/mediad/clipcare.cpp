// SPDX-License-Identifier: GPL-3.0-or-later
#include "companions/mediad/clipcare.h"

#include "companions/mediad/openfile.h"

#include <cerrno>

#include <sys/file.h>

namespace {

constexpr mode_t everybodyWrites = S_IWUSR | S_IWGRP | S_IWOTH;

QmxError refused(const std::string &path, int reason, const QString &why)
{
    return {reason, QStringLiteral("%1 %2").arg(QString::fromLocal8Bit(path), why)};
}

} // namespace

QmxError protectClip(const std::string &path, bool on, const QmxEnvironment &environment)
{
    const OpenFile clip(*environment.files, path, O_RDONLY);
    struct stat64 status = {};
    if (!clip.isOpen() || environment.files->fstat(clip.fd(), &status) != 0)
        return refused(path, errno, "cannot be opened: " + QmxError(errno).toString());
    const mode_t mode = on ? status.st_mode & ~everybodyWrites : status.st_mode | S_IWUSR;
    if (fchmod(clip.fd(), mode & 07777) != 0)
        return refused(path, errno, "cannot be marked: " + QmxError(errno).toString());
    return {};
}

QmxError deleteClip(const std::string &path, const QmxEnvironment &environment)
{
    QmxFiles &files = *environment.files;
    const OpenFile clip(files, path, O_RDONLY);
    struct stat64 status = {};
    if (!clip.isOpen() || files.fstat(clip.fd(), &status) != 0)
        return refused(path, errno, "cannot be opened: " + QmxError(errno).toString());
    if ((status.st_mode & S_IWUSR) == 0)
        return refused(path, EPERM, "is protected; xpctl unprotect it first");
    const auto lock = [&] { return files.flock(clip.fd(), LOCK_EX | LOCK_NB) == 0; };
    if (!tryForAMoment(*environment.clock, lock))
        return refused(path, EWOULDBLOCK, "is being recorded or copied; delete it when that has ended");
    if (files.unlink(QString::fromLocal8Bit(path)) != 0)
        return refused(path, errno, "cannot be deleted: " + QmxError(errno).toString());
    const OpenFile folder(files, path.substr(0, path.rfind('/')), O_RDONLY | O_DIRECTORY);
    if (folder.isOpen()) files.fsync(folder.fd());
    return {};
}
