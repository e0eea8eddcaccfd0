// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <string>
#include <vector>

#include <sys/types.h>

/// The files around a store on disk: names, rights, backups, ballast. No state but the path; any thread.
///
/// Nothing here opens the database itself: closing it would take away the locks that SQLite holds on it in
/// this process.
class StoreFiles
{
public:
    static constexpr mode_t fileMode = 0660;

    explicit StoreFiles(const std::string &databasePath);

    const std::string &database() const { return _database; }
    std::string folder() const;
    std::string lock() const { return _database + ".lock"; }
    std::string careLock() const { return _database + ".care"; }
    std::string wal() const { return _database + "-wal"; }
    /// Where the wake-up sockets of this store's listeners are: /run/xp for a store in /var/lib/xp, else
    /// beside the store.
    std::string socketFolder() const;
    /// Their names begin so; what follows is free.
    std::string socketPrefix() const;

    /// Makes the folders that are missing. Errors show when a file is made in them.
    void makeFolders() const;
    /// Mode 0660 and group "xp"; without that group or the right to it the file stays with its owner's.
    static void shareWithGroup(const std::string &path);
    /// A new empty file for writing in place of whatever has the name: a descriptor, or -1 and errno.
    static int createNew(const std::string &path);

    struct Identity
    {
        dev_t device = 0;
        ino_t inode = 0;
        friend bool operator==(const Identity &, const Identity &) = default;
    };
    /// Nothing when there is no such file.
    static std::optional<Identity> identity(const std::string &path);
    bool isEmpty() const; ///< the database is a file without contents

    struct Backup
    {
        std::string path;
        unsigned long long version = 0;
        long long time = 0; ///< seconds since 1970
    };
    /// Newest first.
    std::vector<Backup> backups() const;
    std::string backupPath(unsigned long long version) const;
    void removeOldBackups(std::size_t keep) const;

    /// Renames the database and its companions out of the way; the new name of the database, or nothing and
    /// errno. `stamp`: a date for the name.
    std::optional<std::string> setAside(const std::string &stamp) const;

    /// Why the database must not be opened: something that is no file of the store's own has the name of one
    /// of its companions (a pipe, a folder, a link). Empty: it may.
    std::string obstacle() const;
    /// With the lock held: renames what is no file there out of the way, as far as this account may.
    void setForeignAside(const std::string &stamp) const;

    /// Space kept for the last writes on a full disk. True when there was some to free.
    bool freeBallast() const;
    bool hasBallast() const;
    void restoreBallast() const;

private:
    std::string _database;
};
