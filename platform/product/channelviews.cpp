// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/product/channelviews.h"

#include "platform/qmx/core/qmxchannel.h"
#include "platform/qmx/core/qmxplaces.h"

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSet>

#include <array>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <optional>
#include <thread>
#include <utility>

#include <dirent.h>

#include <fcntl.h>
#include <linux/capability.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {
constexpr uid_t root = 0;
constexpr mode_t everybodyLooks = 0755;
constexpr mode_t sticky = 03775; ///< who may operate makes files there, and removes only his own

QByteArray native(const QString &path)
{
    return QFile::encodeName(path);
}

QString reason()
{
    return QString::fromLocal8Bit(std::strerror(errno));
}

/// A folder of this process, to be named only by its descriptor: what stands above it belongs to accounts
/// that may put another one, or a link, in its place at any time, while root is at work here.
class Folder
{
public:
    Folder() = default;
    /// A folder of the machine's own, links on the way there included: an arrangement of the machine.
    explicit Folder(const QString &path) : _fd(::open(native(path).constData(), flags)) {}
    ~Folder() { close(); }
    Folder(Folder &&other) noexcept : _fd(std::exchange(other._fd, -1)) {}
    Folder &operator=(Folder &&other) noexcept
    {
        if (this != &other) close();
        _fd = std::exchange(other._fd, -1);
        return *this;
    }
    Folder(const Folder &) = delete;
    Folder &operator=(const Folder &) = delete;

    /// Below it, by names alone; not open, with errno (ENOTDIR for a link), when it is not to be had.
    Folder below(const QString &way) const
    {
        Folder at;
        at._fd = ::fcntl(_fd, F_DUPFD_CLOEXEC, 0);
        for (const QString &name : way.split('/', Qt::SkipEmptyParts)) {
            Folder next;
            next._fd = ::openat(at._fd, native(name).constData(), flags | O_NOFOLLOW);
            at = std::move(next);
        }
        return at;
    }

    bool isOpen() const { return _fd >= 0; }
    int fd() const { return _fd; }
    /// For calls that know names only.
    QByteArray name() const { return "/proc/self/fd/" + QByteArray::number(_fd); }

private:
    static constexpr int flags = O_PATH | O_DIRECTORY | O_CLOEXEC;

    void close()
    {
        const int why = errno;
        if (_fd >= 0) ::close(_fd);
        errno = why;
    }
    int _fd = -1;
};

enum class Found { AnyFolder, OwnOnly }; ///< that is there already

/// The folder `name` in another one: with owner, group and mode of `like`, or one that is there, which stays
/// as it is.
Folder makeFolder(const Folder &in, const QString &name, const struct stat &like, mode_t mode, Found found)
{
    const bool isNew = ::mkdirat(in.fd(), native(name).constData(), 0700) == 0;
    if (!isNew && errno != EEXIST) return {};
    Folder folder = in.below(name);
    struct stat is = {};
    if (!folder.isOpen() || ::fstat(folder.fd(), &is) != 0) return {};
    const bool isOwn =
        is.st_uid == ::geteuid() || (!isNew && (is.st_uid == like.st_uid || is.st_uid == root));
    if (!isOwn && (isNew || found == Found::OwnOnly)) {
        errno = EPERM;
        return {};
    }
    // (The service has the recorder's account, and what it makes is that account's already.)
    const bool givesAway = ::geteuid() == root;
    if (isNew && ((givesAway && ::fchownat(folder.fd(), "", like.st_uid, like.st_gid, AT_EMPTY_PATH) != 0) ||
                  ::chmod(folder.name().constData(), mode) != 0))
        return {};
    return folder;
}

/// "\040" of /proc/self/mountinfo (proc(5)).
QString unescaped(const QByteArray &word)
{
    constexpr qsizetype digits = 3;
    QByteArray plain;
    for (qsizetype i = 0; i < word.size(); ++i) {
        bool isNumber = false;
        const int byte = word[i] == '\\' ? word.mid(i + 1, digits).toInt(&isNumber, 8) : 0;
        plain += isNumber ? char(byte) : word[i];
        if (isNumber) i += digits;
    }
    return QFile::decodeName(plain);
}

/// Names of what is mounted directly in a folder.
QSet<QString> mountedIn(const QString &folder)
{
    constexpr qsizetype place = 4;
    QSet<QString> names;
    QFile table("/proc/self/mountinfo");
    if (!table.open(QIODevice::ReadOnly)) return names;
    for (const QByteArray &line : table.readAll().split('\n')) {
        const QString path = unescaped(line.split(' ').value(place));
        if (path.startsWith(folder + '/') && path.lastIndexOf('/') == folder.size())
            names.insert(path.mid(folder.size() + 1));
    }
    return names;
}

/// Its folder on a medium; not open, with errno, when there is none and none can be made.
Folder shareOf(int channel, const Folder &medium)
{
    struct stat top = {};
    if (!medium.isOpen() || ::fstat(medium.fd(), &top) != 0) return {};
    return makeFolder(medium, "channel-" + QString::number(channel), top, top.st_mode & 07777,
                      Found::AnyFolder);
}

void letGo(const Folder &view, const QString &name)
{
    ::umount2(view.below(name).name().constData(), MNT_DETACH);
    ::unlinkat(view.fd(), native(name).constData(), AT_REMOVEDIR);
}

bool bind(const Folder &from, const Folder &view, const QString &name, bool writable)
{
    const Folder target = view.below(name);
    if (!target.isOpen() ||
        ::mount(from.name().constData(), target.name().constData(), nullptr, MS_BIND, nullptr) != 0)
        return false;
    if (writable) return true;
    const Folder bound = view.below(name); // now the other one
    if (::mount(nullptr, bound.name().constData(), nullptr, MS_BIND | MS_REMOUNT | MS_RDONLY, nullptr) == 0)
        return true;
    const int why = errno;
    ::umount2(bound.name().constData(), MNT_DETACH);
    errno = why;
    return false;
}

struct Place
{
    QString in; ///< a folder of the machine's own
    QString path;
};

/// The places of a channel that others have to be below.
std::array<Place, 4> placesOf(int channel)
{
    const QmxPlaces machine;
    const QmxPlaces places = QmxPlaces::ofChannel(channel);
    return {{{machine.settings, places.settings},
             {machine.state, places.state},
             {machine.run, places.run},
             {QFileInfo(QFileInfo(places.memory).path()).path(), places.memory}}};
}

/// The mount that an open folder belongs to. (Its device would not tell a folder that is bound there from one
/// of the same file system.)
std::optional<quint64> mountOf(int fd)
{
    struct statx is = {};
    if (::statx(fd, "", AT_EMPTY_PATH, STATX_MNT_ID, &is) != 0 || (is.stx_mask & STATX_MNT_ID) == 0)
        return {};
    return is.stx_mnt_id;
}

/// Removes a folder with all that is in it, but never anything that is mounted there: a medium may be bound
/// at any time. Follows no link. False: something is left.
bool removeTree(int in, const char *name)
{
    const int fd = ::openat(in, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    if (fd < 0) return ::unlinkat(in, name, 0) == 0 || errno == ENOENT;
    const auto outside = mountOf(in);
    DIR *const folder = outside && outside == mountOf(fd) ? ::fdopendir(fd) : nullptr;
    if (!folder) {
        ::close(fd);
        return false;
    }
    bool isEmpty = true;
    while (const dirent *entry = ::readdir(folder)) {
        const QByteArray one(entry->d_name);
        if (one != "." && one != "..") isEmpty = removeTree(fd, entry->d_name) && isEmpty;
    }
    ::closedir(folder);
    return isEmpty && ::unlinkat(in, name, AT_REMOVEDIR) == 0;
}

/// The channel's own place for its media.
Folder viewOf(int channel)
{
    const QString run = QmxPlaces().run;
    return Folder(run).below(QmxPlaces::ofChannel(channel).media.mid(run.size()));
}
} // namespace

namespace ChannelViews {

/// (Whoever can read the folder may lock it as well: it is waited for no longer than anybody needs it.)
Turn::Turn() : _fd(::open(native(QmxPlaces().settings).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC))
{
    constexpr int mostTries = 150;
    constexpr auto between = std::chrono::milliseconds(20);
    for (int tries = 0; tries < mostTries && ::flock(_fd, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK;
         ++tries)
        std::this_thread::sleep_for(between);
}

Turn::~Turn()
{
    if (_fd >= 0) ::close(_fd);
}

QString replayFile(int channel)
{
    return QmxPlaces::ofChannel(channel).settings + "/plays";
}

int playsOf(int channel)
{
    QFile file(replayFile(channel));
    if (!file.open(QIODevice::ReadOnly)) return 0;
    return QmxPlaces::channelNamed(QString::fromLatin1(file.readLine()).trimmed()).value_or(0);
}

bool mayMount()
{
    return ::geteuid() == root || ::prctl(PR_CAP_AMBIENT, PR_CAP_AMBIENT_IS_SET, CAP_SYS_ADMIN, 0, 0) == 1;
}

QStringList makeFolders(int channel, const QString &like)
{
    const QmxPlaces places = QmxPlaces::ofChannel(channel);
    struct stat owner = {};
    if (::stat(native(like).constData(), &owner) != 0) return {like + ": " + reason()};
    struct Wanted
    {
        Place place;
        mode_t mode;
    };
    const auto [settings, state, run, memory] = placesOf(channel);
    const auto above = [](const Place &place) { return Place{place.in, QFileInfo(place.path).path()}; };
    const Wanted folders[] = {{above(settings), everybodyLooks}, {settings, everybodyLooks},
                              {above(state), everybodyLooks},    {state, 03770},
                              {above(run), everybodyLooks},      {run, sticky},
                              {{run.in, places.locks}, sticky},  {{run.in, places.media}, everybodyLooks},
                              {above(memory), everybodyLooks},   {memory, sticky}};
    QStringList problems;
    for (const Wanted &folder : folders) {
        const QFileInfo info(folder.place.path);
        const Folder parent = Folder(folder.place.in).below(info.path().mid(folder.place.in.size()));
        if (!parent.isOpen() ||
            !makeFolder(parent, info.fileName(), owner, folder.mode, Found::OwnOnly).isOpen())
            problems << folder.place.path + ": " +
                            (errno == EPERM ? QStringLiteral("belongs to another account: root removes it")
                                            : reason());
    }
    return problems;
}

QStringList bindMedia(int channel)
{
    const QString machine = QmxPlaces().media;
    const QString path = QmxPlaces::ofChannel(channel).media;
    const Folder view = viewOf(channel);
    if (!view.isOpen()) return {path + ": " + reason()};
    const int plays = playsOf(channel);
    QStringList problems;
    const QSet<QString> wanted = mountedIn(machine);
    const QSet<QString> bound = mountedIn(path);
    for (const QString &name : bound - wanted)
        letGo(view, name);
    for (const QString &name : wanted - bound) {
        const QString medium = machine + '/' + name;
        const Folder all(medium);
        const Folder part = plays == 1 ? Folder() : shareOf(plays ? plays : channel, all);
        const Folder &share = plays == 1 ? all : part;
        if (!share.isOpen()) {
            problems
                << QStringLiteral("channel %1 has no folder on %2: %3").arg(channel).arg(medium, reason());
            continue;
        }
        const bool isMade =
            ::mkdirat(view.fd(), native(name).constData(), everybodyLooks) == 0 || errno == EEXIST;
        if (isMade && bind(share, view, name, plays == 0)) continue;
        problems
            << QStringLiteral("%1 cannot be given to channel %2: %3").arg(medium).arg(channel).arg(reason());
        if (isMade) ::unlinkat(view.fd(), native(name).constData(), AT_REMOVEDIR);
    }
    return problems;
}

/// The settings first: without them nobody binds a medium again. (Should one be bound all the same, it is let
/// go once more.)
bool removeFolders(int channel)
{
    constexpr int mostTries = 50;
    constexpr auto between = std::chrono::milliseconds(20);
    bool isGone = true;
    for (const Place &place : placesOf(channel)) {
        const QFileInfo info(place.path);
        const Folder parent = Folder(place.in).below(info.path().mid(place.in.size()));
        bool isRemoved = !parent.isOpen();
        for (int tries = 0; !isRemoved && tries < mostTries; ++tries) {
            release(channel);
            isRemoved = removeTree(parent.fd(), native(info.fileName()).constData());
            if (!isRemoved) std::this_thread::sleep_for(between);
        }
        isGone = isGone && isRemoved;
    }
    return isGone;
}

void release(int channel)
{
    const Folder view = viewOf(channel);
    for (const QString &name : mountedIn(QmxPlaces::ofChannel(channel).media))
        letGo(view, name);
}

void follow(void (*tell)(const QStringList &problems), void (*ready)())
{
    constexpr int lookAgain = 5000; // ms; a channel that was added, a medium that has room again
    const int table = ::open("/proc/self/mountinfo", O_RDONLY | O_CLOEXEC);
    QStringList told;
    for (;;) {
        QStringList problems;
        for (const int channel : QmxChannel::all()) {
            const Turn turn;
            // (It may have been removed since.)
            if (channel != 1 && QmxChannel::exists(channel))
                problems += makeFolders(channel, QmxPlaces().state) + bindMedia(channel);
        }
        if (problems != told) tell(problems);
        told = problems;
        if (ready) ready();
        ready = nullptr;
        pollfd changed{table, POLLPRI, 0};
        ::poll(&changed, table < 0 ? 0 : 1, lookAgain);
    }
}

} // namespace ChannelViews
