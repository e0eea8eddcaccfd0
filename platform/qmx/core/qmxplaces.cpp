// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/core/qmxplaces.h"

#include <array>

namespace {
using Folder = QString QmxPlaces::*;
constexpr std::array<Folder, 6> ownFolders = {&QmxPlaces::state,    &QmxPlaces::run,    &QmxPlaces::media,
                                              &QmxPlaces::settings, &QmxPlaces::memory, &QmxPlaces::locks};

/// `path` with `from` at its beginning replaced; nothing when it does not lie there.
std::optional<QString> moved(const QString &path, const QString &from, const QString &to)
{
    if (path == from) return to;
    return path.startsWith(from + '/') ? std::optional(to + path.mid(from.size())) : std::nullopt;
}
} // namespace

QmxPlaces QmxPlaces::ofChannel(int channel)
{
    QmxPlaces places;
    if (channel == 1) return places;
    const QString number = '/' + QString::number(channel);
    places.channel = channel;
    places.state += "/channels" + number;
    places.run += "/channels" + number;
    places.settings += "/channels" + number;
    places.memory += "/xp-channels" + number;
    places.locks = places.run + "/lock";
    places.media = places.run + "/media";
    for (QString QmxPlaces::*path :
         {&QmxPlaces::recorderLock, &QmxPlaces::mediaLock, &QmxPlaces::remoteLock, &QmxPlaces::playListLock,
          &QmxPlaces::controlLock, &QmxPlaces::profile, &QmxPlaces::storeAddress, &QmxPlaces::redisPassword,
          &QmxPlaces::panelToken, &QmxPlaces::panelAddress, &QmxPlaces::commandSocket,
          &QmxPlaces::thumbnails})
        places.*path = places.here(places.*path);
    for (QString QmxPlaces::*name :
         {&QmxPlaces::counters, &QmxPlaces::preview, &QmxPlaces::currentTimecode, &QmxPlaces::inputTimecode,
          &QmxPlaces::takeWindow, &QmxPlaces::remoteFigures, &QmxPlaces::clipList, &QmxPlaces::playList}) {
        const QString plain = places.*name;
        places.*name = places.memory + (plain.startsWith('/') ? plain : '/' + plain);
    }
    return places;
}

std::optional<int> QmxPlaces::channelNamed(const QString &text)
{
    bool isNumber = false;
    const int channel = text.toInt(&isNumber);
    const bool isPlain = isNumber && QString::number(channel) == text;
    return isPlain && channel >= 1 && channel <= mostChannels ? std::optional(channel) : std::nullopt;
}

QString QmxPlaces::here(const QString &path) const
{
    if (channel == 1 || within(path) != path) return path;
    const QmxPlaces first;
    for (const Folder folder : ownFolders)
        if (const auto found = moved(path, first.*folder, this->*folder)) return *found;
    return path;
}

QString QmxPlaces::within(const QString &path) const
{
    if (channel == 1) return path;
    const QmxPlaces first;
    // The deeper ones first: locks and media lie below the folder of what runs.
    for (const Folder folder : {&QmxPlaces::media, &QmxPlaces::locks, &QmxPlaces::state, &QmxPlaces::run,
                                &QmxPlaces::settings, &QmxPlaces::memory})
        if (const auto found = moved(path, this->*folder, first.*folder)) return *found;
    return path;
}
