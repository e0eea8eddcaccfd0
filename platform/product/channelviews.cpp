// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/product/channelviews.h"

#include "platform/qmx/core/qmxchannel.h"
#include "platform/qmx/core/qmxplaces.h"

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSet>

#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <poll.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {
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

/// With owner, group and mode of `like`; one that is there stays as it is.
bool makeFolder(const QString &path, const struct stat &like, mode_t mode)
{
    if (::mkdir(native(path).constData(), 0700) != 0) return errno == EEXIST && QFileInfo(path).isDir();
    return ::chown(native(path).constData(), like.st_uid, like.st_gid) == 0 &&
           ::chmod(native(path).constData(), mode) == 0;
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

/// Its folder on a medium; empty, with errno, when there is none and none can be made.
QString shareOf(int channel, const QString &medium)
{
    const QString share = medium + "/channel-" + QString::number(channel);
    struct stat top = {};
    if (::stat(native(medium).constData(), &top) != 0) return {};
    return makeFolder(share, top, top.st_mode & 07777) ? share : QString();
}

bool bind(const QString &from, const QString &to, bool writable)
{
    const QByteArray target = native(to);
    if (::mount(native(from).constData(), target.constData(), nullptr, MS_BIND, nullptr) != 0) return false;
    if (writable) return true;
    if (::mount(nullptr, target.constData(), nullptr, MS_BIND | MS_REMOUNT | MS_RDONLY, nullptr) == 0)
        return true;
    const int why = errno;
    ::umount2(target.constData(), MNT_DETACH);
    errno = why;
    return false;
}

void letGo(const QString &view, const QString &name)
{
    const QByteArray target = native(view + '/' + name);
    ::umount2(target.constData(), MNT_DETACH | UMOUNT_NOFOLLOW);
    ::rmdir(target.constData());
}
} // namespace

namespace ChannelViews {

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

QStringList makeFolders(int channel, const QString &like)
{
    const QmxPlaces places = QmxPlaces::ofChannel(channel);
    struct stat owner = {};
    if (::stat(native(like).constData(), &owner) != 0) return {like + ": " + reason()};
    struct Folder
    {
        QString path;
        mode_t mode;
    };
    const Folder folders[] = {{QFileInfo(places.settings).path(), everybodyLooks},
                              {places.settings, everybodyLooks},
                              {QFileInfo(places.state).path(), everybodyLooks},
                              {places.state, 03770},
                              {QFileInfo(places.run).path(), everybodyLooks},
                              {places.run, sticky},
                              {places.locks, sticky},
                              {places.media, everybodyLooks},
                              {QFileInfo(places.memory).path(), everybodyLooks},
                              {places.memory, 01777}};
    QStringList problems;
    for (const Folder &folder : folders)
        if (!makeFolder(folder.path, owner, folder.mode)) problems << folder.path + ": " + reason();
    return problems;
}

QStringList bindMedia(int channel)
{
    const QString machine = QmxPlaces().media;
    const QString view = QmxPlaces::ofChannel(channel).media;
    const int plays = playsOf(channel);
    QStringList problems;
    const QSet<QString> wanted = mountedIn(machine);
    const QSet<QString> bound = mountedIn(view);
    for (const QString &name : bound - wanted)
        letGo(view, name);
    for (const QString &name : wanted - bound) {
        const QString medium = machine + '/' + name;
        const QString target = view + '/' + name;
        const QString share = plays == 1 ? medium : shareOf(plays ? plays : channel, medium);
        if (share.isEmpty()) {
            problems
                << QStringLiteral("channel %1 has no folder on %2: %3").arg(channel).arg(medium, reason());
            continue;
        }
        if (::mkdir(native(target).constData(), everybodyLooks) != 0 && errno != EEXIST) {
            problems << target + ": " + reason();
            continue;
        }
        if (!bind(share, target, plays == 0)) {
            problems << QStringLiteral("%1 cannot be given to channel %2: %3")
                            .arg(share)
                            .arg(channel)
                            .arg(reason());
            ::rmdir(native(target).constData());
        }
    }
    return problems;
}

void release(int channel)
{
    const QString view = QmxPlaces::ofChannel(channel).media;
    for (const QString &name : mountedIn(view))
        letGo(view, name);
}

void follow(void (*tell)(const QStringList &problems), void (*ready)())
{
    constexpr int lookAgain = 5000; // ms; a channel that was added, a medium that has room again
    const int table = ::open("/proc/self/mountinfo", O_RDONLY | O_CLOEXEC);
    QStringList told;
    for (;;) {
        QStringList problems;
        for (const int channel : QmxChannel::all())
            if (channel != 1) problems += makeFolders(channel, QmxPlaces().state) + bindMedia(channel);
        if (problems != told) tell(problems);
        told = problems;
        if (ready) ready();
        ready = nullptr;
        pollfd changed{table, POLLPRI, 0};
        ::poll(&changed, table < 0 ? 0 : 1, lookAgain);
    }
}

} // namespace ChannelViews
