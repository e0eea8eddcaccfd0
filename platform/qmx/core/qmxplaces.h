// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

#include <optional>

/// Where everything of one recorder is that another program, or the next start, has to find again. A value;
/// this is the only list of such names. Handed over in the environment (QmxEnvironment::places).
///
/// A machine may hold several recorders, its *channels*. The first one has the places below. Each further one
/// has the same places in a view of its own, which its services see; ofChannel() is where they are for those
/// who look in from outside.
struct QmxPlaces
{
    static constexpr int mostChannels = 64;

    int channel = 1;
    /// Of the recorders that keep their settings on one server the one that is meant; empty: the one that the
    /// file at storeAddress names.
    QString recorder;

    // Locks
    QString recorderLock = QStringLiteral("/var/lock/xpd.lock");
    QString mediaLock = QStringLiteral("/var/lock/xpmediad.lock"); ///< of the media daemon
    QString remoteLock = QStringLiteral("/var/lock/xpremote.lock");
    QString playListLock = QStringLiteral("/run/xp/play-list.lock");
    /// Held by the one program that changes who is in control, from reading it to writing it.
    QString controlLock = QStringLiteral("/run/xp/control.lock");

    // Names in shared memory (see QmxSharedMemory)
    QString counters = QStringLiteral("/xpd_counters");
    QString preview = QStringLiteral("/xpd_preview");
    QString currentTimecode = QStringLiteral("/xpd_currentTimecode");
    QString inputTimecode = QStringLiteral("/xpd_inputTimecode");
    QString takeWindow = QStringLiteral("/xpd_window");   ///< see QmxTakeWindow
    QString remoteFigures = QStringLiteral("/xp_remote"); ///< of xpremote
    /// Lists of clips: each a segment (and "_shm") with a mutex (and "_mutex") beside it.
    QString clipList = QStringLiteral("NewCacheSharedClipCache");
    QString playList = QStringLiteral("NewCacheSharedPlaylistCache");

    // Settings
    QString profile = QStringLiteral("/etc/xp/lumen.ini");
    QString storeAddress = QStringLiteral("/etc/xp/store"); ///< its first line is the store's address
    QString redisPassword = QStringLiteral("/etc/xp/redis.password");
    QString remotePorts = QStringLiteral("/etc/xp/remote.ini"); ///< of the machine, for all of its channels

    // Where running programs are found
    QString panelToken = QStringLiteral("/run/xp/panel.token");
    QString panelAddress = QStringLiteral("/run/xp/panel.address");
    QString commandSocket =
        QStringLiteral("/run/xp/command"); ///< of the daemon, for a stop without the store

    // Folders
    QString state = QStringLiteral("/var/lib/xp"); ///< the store lies here
    QString run = QStringLiteral("/run/xp");       ///< sockets of the store's listeners
    QString thumbnails = QStringLiteral("/var/lib/xp/thumbnails");
    QString media = QStringLiteral("/media"); ///< media are mounted below it
    QString stills = QStringLiteral("/usr/local/share/media");
    QString settings = QStringLiteral("/etc/xp");
    QString memory = QStringLiteral("/dev/shm"); ///< where names in shared memory are files
    QString locks = QStringLiteral("/var/lock");

    /// 1 to mostChannels.
    static QmxPlaces ofChannel(int channel);
    /// "2", of 1 to mostChannels; nothing when it is not one.
    static std::optional<int> channelNamed(const QString &text);

    /// Where a path that the recorder itself uses ("/media/A/x.mov") is for this program. The same for the
    /// first channel, for paths that no channel has of its own, and for one that is here already.
    QString here(const QString &path) const;
    /// The other way round: what the recorder calls it.
    QString within(const QString &path) const;
};
