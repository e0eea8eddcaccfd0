// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QString>

#include <sys/stat.h>

/// A folder that others may write too, held by its descriptor: what is in it is reached from there by one
/// name, so that no link that is put in the way in the meantime leads elsewhere. Any thread; errno after a
/// failure.
class QmxSafeFolder
{
public:
    QmxSafeFolder() = default;
    /// The last name of the path is no link (those before it are the machine's own arrangement).
    explicit QmxSafeFolder(const QString &path);
    ~QmxSafeFolder();
    QmxSafeFolder(QmxSafeFolder &&other) noexcept;
    QmxSafeFolder &operator=(QmxSafeFolder &&other) noexcept;
    QmxSafeFolder(const QmxSafeFolder &) = delete;
    QmxSafeFolder &operator=(const QmxSafeFolder &) = delete;

    bool isOpen() const { return _fd >= 0; }
    int fd() const { return _fd; }
    /// All 0 when it is not open.
    struct stat status() const;

    /// The folder `name` in it; not open when there is none or it is a link.
    QmxSafeFolder below(const QString &name) const;
    /// The same, of this account and with this mode; made when it is missing. What else has the name is
    /// renamed to "NAME.foreign", "NAME.foreign-2" and so on, and stays.
    QmxSafeFolder make(const QString &name, mode_t mode) const;

    /// A regular file with no other name, as by QmxSafeFile::open(); -1 when it is none.
    int open(const QString &name, int flags) const;
    /// The name itself: a link is a link. All 0 when there is none.
    struct stat status(const QString &name) const;

    /// What a new file gets before it has its name.
    struct As
    {
        mode_t mode = 0600;
        uid_t owner = uid_t(-1); ///< -1: this account
        gid_t group = gid_t(-1); ///< -1: the one that the folder gives
        qint64 seconds = -1;     ///< its time, since 1970; -1: now
    };
    /// A new file with these contents in place of whatever has the name, which is never written to; durable.
    bool replace(const QString &name, const QByteArray &bytes, const As &as) const;
    bool remove(const QString &name) const;

private:
    bool putAside(const QByteArray &name) const;
    int _fd = -1;
};
