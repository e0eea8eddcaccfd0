// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/store/storefiles.h"

#include "platform/qmx/core/qmxenvironment.h"
#include "platform/qmx/core/qmxloglevel.h"
#include "platform/qmx/core/qmxplaces.h"
#include "platform/qmx/core/qmxsafefile.h"
#include "platform/qmx/core/qmxsafefolder.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <vector>

#include <fcntl.h>
#include <grp.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

// Sticky: nobody removes or replaces what another account has made there.
constexpr mode_t folderMode = 03770;
/// What the library keeps beside a database.
constexpr std::array companions{"-journal", "-wal", "-shm"};
constexpr const char *groupName = "xp";
constexpr long ballastBytes = 1 << 20;
// The ballast is put back only when that much more is free, so that it does not fill the disk itself.
constexpr unsigned long long ballastMargin = 16ULL << 20;

gid_t storeGroup()
{
    static const gid_t gid = [] {
        std::vector<char> buffer(16384);
        struct group entry
        {};
        struct group *found = nullptr;
        if (::getgrnam_r(groupName, &entry, buffer.data(), buffer.size(), &found) != 0 || !found)
            return static_cast<gid_t>(-1);
        return found->gr_gid;
    }();
    return gid;
}

void makeFolder(const std::string &path)
{
    std::error_code ignored;
    if (path.empty() || fs::exists(path, ignored)) return;
    makeFolder(fs::path(path).parent_path().string());
    if (::mkdir(path.c_str(), 0700) != 0) return;
    // It is for this account alone until it is known to be the one that was made.
    const QmxSafeFolder folder(QString::fromStdString(path));
    if (!folder.isOpen() || folder.status().st_uid != ::geteuid()) return;
    // Group only: the owner stays who made it. Without the right to do so others simply have no access. The
    // mode comes last: the one of a new folder is cut by the umask, which says nothing about this group.
    const bool hasGroup = storeGroup() != static_cast<gid_t>(-1);
    if (hasGroup && ::fchown(folder.fd(), static_cast<uid_t>(-1), storeGroup()) != 0)
        ::fchmod(folder.fd(), folderMode & ~S_ISGID);
    else
        ::fchmod(folder.fd(), folderMode);
}

} // namespace

StoreFiles::StoreFiles(const std::string &databasePath)
{
    std::error_code failed;
    const fs::path absolute = fs::absolute(databasePath, failed).lexically_normal();
    // A link on the way there is somebody's arrangement of the machine; one in the folder itself never is.
    const fs::path folder = fs::weakly_canonical(absolute.parent_path(), failed);
    _database = failed ? databasePath : (folder / absolute.filename()).string();
}

std::string StoreFiles::folder() const
{
    return fs::path(_database).parent_path().string();
}

std::string StoreFiles::socketFolder() const
{
    std::error_code failed;
    const std::shared_ptr<const QmxPlaces> places = QmxEnvironment::current().places;
    const std::string state = places->state.toStdString();
    const bool isState = folder() == state || folder() == fs::weakly_canonical(state, failed);
    return isState ? places->run.toStdString() : folder();
}

std::string StoreFiles::socketPrefix() const
{
    return fs::path(_database).filename().string() + ".listener-";
}

void StoreFiles::makeFolders() const
{
    makeFolder(folder());
    makeFolder(socketFolder());
}

void StoreFiles::shareWithGroup(const std::string &path)
{
    // A failure leaves the file usable by its owner, which is all that can be done without the right.
    QmxSafeFile::share(path.c_str(), storeGroup(), fileMode);
}

int StoreFiles::createNew(const std::string &path)
{
    // What stands there may be a link that somebody has put; a file of our own making has no other name.
    if (::unlink(path.c_str()) != 0 && errno != ENOENT) return -1;
    return QmxSafeFile::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL, fileMode);
}

std::optional<StoreFiles::Identity> StoreFiles::identity(const std::string &path)
{
    struct stat info
    {};
    // The name itself: a link is never what it points to.
    if (::lstat(path.c_str(), &info) != 0) return std::nullopt;
    return Identity{info.st_dev, info.st_ino};
}

bool StoreFiles::isEmpty() const
{
    struct stat info
    {};
    return ::lstat(_database.c_str(), &info) == 0 && S_ISREG(info.st_mode) && info.st_size == 0;
}

std::string StoreFiles::backupPath(unsigned long long version) const
{
    return _database + ".backup-" + std::to_string(version);
}

std::vector<StoreFiles::Backup> StoreFiles::backups() const
{
    std::vector<Backup> found;
    const std::string prefix = fs::path(backupPath(0)).filename().string();
    const std::string stem = prefix.substr(0, prefix.size() - 1);
    std::error_code failed;
    for (fs::directory_iterator entry(folder(), failed), end; !failed && entry != end;
         entry.increment(failed)) {
        const std::string name = entry->path().filename().string();
        if (!name.starts_with(stem)) continue;
        const std::string digits = name.substr(stem.size());
        if (digits.empty() || digits.find_first_not_of("0123456789") != std::string::npos) continue;
        struct stat info
        {};
        if (::lstat(entry->path().c_str(), &info) != 0 || !S_ISREG(info.st_mode)) continue;
        found.push_back({entry->path().string(), std::strtoull(digits.c_str(), nullptr, 10), info.st_mtime});
    }
    std::sort(found.begin(), found.end(),
              [](const Backup &a, const Backup &b) { return a.version > b.version; });
    return found;
}

void StoreFiles::removeOldBackups(std::size_t keep) const
{
    const std::vector<Backup> all = backups();
    for (std::size_t i = keep; i < all.size(); ++i)
        ::unlink(all[i].path.c_str());
}

std::string StoreFiles::obstacle() const
{
    struct stat own
    {};
    if (::lstat(_database.c_str(), &own) != 0) return {};
    for (const char *suffix : companions) {
        struct stat info
        {};
        const std::string path = _database + suffix;
        if (::lstat(path.c_str(), &info) != 0) continue;
        if (!S_ISREG(info.st_mode)) return path + " is no file; remove it";
        // One that the library has made may have got a further name, from a backup for example. A file of
        // somebody else with two names may be anything that this account writes to.
        if (info.st_nlink > 1 && info.st_uid != own.st_uid)
            return path +
                   " belongs to another account and has another name as well; see which with find -samefile";
    }
    return {};
}

void StoreFiles::setForeignAside(const std::string &stamp) const
{
    for (const char *suffix : companions) {
        struct stat info
        {};
        const std::string path = _database + suffix;
        // (A regular file may hold commits.)
        if (::lstat(path.c_str(), &info) != 0 || S_ISREG(info.st_mode)) continue;
        std::string target = path + ".foreign-" + stamp;
        for (int copy = 2; identity(target); ++copy)
            target = path + ".foreign-" + stamp + "-" + std::to_string(copy);
        if (::rename(path.c_str(), target.c_str()) != 0) continue;
        qmxLogOutput(QmxLogLevel::Warning, "storefiles", __LINE__,
                     "%s was no file of the configuration store; it is now %s. Look at it and remove it\n",
                     path.c_str(), target.c_str());
    }
}

std::optional<std::string> StoreFiles::setAside(const std::string &stamp) const
{
    std::string target = _database + ".broken-" + stamp;
    for (int copy = 2; identity(target); ++copy)
        target = _database + ".broken-" + stamp + "-" + std::to_string(copy);
    if (::rename(_database.c_str(), target.c_str()) != 0 && errno != ENOENT) return std::nullopt;
    // What belongs to the old database must not be taken for the new one's, also when the database itself
    // is gone.
    for (const char *suffix : {"-wal", "-shm"}) {
        const std::string from = _database + suffix;
        const std::string to = target + suffix;
        if (::rename(from.c_str(), to.c_str()) != 0 && errno != ENOENT) return std::nullopt;
    }
    return target;
}

bool StoreFiles::freeBallast() const
{
    return ::unlink((_database + ".ballast").c_str()) == 0;
}

bool StoreFiles::hasBallast() const
{
    return identity(_database + ".ballast").has_value();
}

void StoreFiles::restoreBallast() const
{
    const std::string path = _database + ".ballast";
    struct statvfs space
    {};
    if (identity(path) || ::statvfs(folder().c_str(), &space) != 0) return;
    if (static_cast<unsigned long long>(space.f_bavail) * space.f_frsize < ballastBytes + ballastMargin)
        return;
    const int fd = createNew(path);
    if (fd < 0) return;
    const bool done = ::posix_fallocate(fd, 0, ballastBytes) == 0;
    ::close(fd);
    if (done)
        shareWithGroup(path);
    else
        ::unlink(path.c_str());
}
