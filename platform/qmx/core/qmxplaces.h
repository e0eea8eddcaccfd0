// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

/// Where everything of one recorder is that another program, or the next start, has to find again. A value;
/// this is the only list of such names. Handed over in the environment (QmxEnvironment::places).
struct QmxPlaces
{
    // Locks
    QString recorderLock = QStringLiteral("/var/lock/xpd.lock");
    QString mediaLock = QStringLiteral("/var/lock/xpmediad.lock"); ///< of the media daemon
    QString playListLock = QStringLiteral("/run/xp/play-list.lock");
    /// Held by the one program that changes who is in control, from reading it to writing it.
    QString controlLock = QStringLiteral("/run/xp/control.lock");

    // Names in shared memory
    QString counters = QStringLiteral("/xpd_counters");
    QString preview = QStringLiteral("/xpd_preview");
    QString currentTimecode = QStringLiteral("/xpd_currentTimecode");
    QString inputTimecode = QStringLiteral("/xpd_inputTimecode");
    /// Lists of clips: each a segment (and "_shm") with a mutex (and "_mutex") beside it.
    QString clipList = QStringLiteral("NewCacheSharedClipCache");
    QString playList = QStringLiteral("NewCacheSharedPlaylistCache");

    // Settings
    QString profile = QStringLiteral("/etc/xp/lumen.ini");
    QString storeAddress = QStringLiteral("/etc/xp/store"); ///< its first line is the store's address
    QString redisPassword = QStringLiteral("/etc/xp/redis.password");

    // Folders
    QString state = QStringLiteral("/var/lib/xp"); ///< the store lies here
    QString run = QStringLiteral("/run/xp");       ///< sockets of the store's listeners
    QString thumbnails = QStringLiteral("/var/lib/xp/thumbnails");
    QString media = QStringLiteral("/media"); ///< media are mounted below it
    QString stills = QStringLiteral("/usr/local/share/media");
};
