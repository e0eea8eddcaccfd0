// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

#include <sys/types.h>

/// Names in folders that others may write too (media, the store, /run, shared memory) may stand for anything:
/// a link to somebody's file, a pipe that nobody feeds, a device. All openings and all changes of rights
/// there go through these. Any thread; -1 and errno on error, as their system calls.
namespace QmxSafeFile {

enum class Names {
    Any,  ///< the file may have hard links
    Only, ///< this is its only name: what is done to it is done to nobody else's
};

/// Opens a regular file, or a folder with O_DIRECTORY, without following a link and without waiting. Errors
/// besides those of open(2): ELOOP for a link, ENOTSUP for what is no file, EMLINK for one with other names.
int open(const char *path, int flags, mode_t mode = 0, Names names = Names::Any);
/// The same, with a name in an open folder.
int openAt(int folder, const char *name, int flags, mode_t mode = 0, Names names = Names::Any);

/// All of what is open there; nothing when it is longer than `most` or cannot be read.
std::optional<QByteArray> contents(int fd, qint64 most);

enum class Writer {
    Anybody,
    Trusted, ///< this account or root
};
/// The first line of a small file, without spaces around it; empty when there is none. `writer`: whose it has
/// to be.
QByteArray line(const QString &path, Writer writer = Writer::Anybody);

/// Gives a file or socket of this account's own to a group, with these rights; others are left alone (0).
/// `group` -1: keeps its group. Takes no lock and loses none.
int share(const char *path, gid_t group, mode_t mode);

/// Whose the file of this name is (a link: the link itself); nothing when there is none.
std::optional<uid_t> owner(const char *path);
/// Root, this account, or the one that the recorder has: the owner of the folder of its store, which nobody
/// else can make.
bool isTrustedOwner(uid_t owner);

} // namespace QmxSafeFile
