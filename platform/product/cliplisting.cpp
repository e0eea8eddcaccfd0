// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/product/cliplisting.h"

#include "platform/product/clipscan.h"
#include "platform/qmx/clip/qmxclippart.h"

#include <algorithm>
#include <ctime>
#include <limits>
#include <sstream>
#include <unordered_map>

#include <sys/stat.h>

namespace {

constexpr qint64 nsPerSecond = 1'000'000'000;
/// A file system's stamp may be the same for two changes that close to each other (FAT counts two seconds).
constexpr qint64 stampGranularity = 3 * nsPerSecond;

qint64 nanoseconds(const timespec &time)
{
    return time.tv_sec * nsPerSecond + time.tv_nsec;
}

/// 0 when there is no such folder.
qint64 changeTime(const std::string &folder)
{
    struct stat64 status
    {};
    return ::stat64(folder.c_str(), &status) == 0 && S_ISDIR(status.st_mode) ? nanoseconds(status.st_mtim)
                                                                             : 0;
}

/// Of the clock that stamps files, not of the program's.
qint64 stampClock()
{
    timespec now{};
    ::clock_gettime(CLOCK_REALTIME_COARSE, &now);
    return nanoseconds(now);
}

/// A part of a clip as a clip of its own, of what is there now; it grows if more of it may come. Nothing: it
/// has no frames. Timecodes cannot be told without the file: a list has frame numbers by the time it is kept.
std::optional<Clip> partOf(const Clip &clip, const QmxClipPart &part, const std::string &name)
{
    bool hasFirst = part.from.isEmpty();
    bool hasEnd = part.to.isEmpty();
    const qint64 first = hasFirst ? 0 : part.from.toUInt(&hasFirst);
    const qint64 end = hasEnd ? std::numeric_limits<int>::max() : part.to.toUInt(&hasEnd);
    const int frames = int(std::min<qint64>(end, clip.frames()) - first);
    if (!hasFirst || !hasEnd || frames <= 0) return {};
    const bool isWhole = clip.isClosed() || end <= clip.frames();
    return Clip(name, clip.getPath(), frames, clip.getRecordedAt(), isWhole);
}

} // namespace

std::optional<ClipListing> takeClipListing(const std::string &folder, ClipSource &source)
{
    ClipListing listing;
    listing.folder = folder;
    listing.changed = changeTime(folder);
    const qint64 before = stampClock();
    auto clips = source.clips(folder);
    if (!clips || listing.changed == 0) return std::nullopt;
    listing.clips = std::move(*clips);
    const bool isQuiet = before >= listing.changed && before - listing.changed >= stampGranularity;
    listing.settled = isQuiet && source.isComplete() &&
                      std::all_of(listing.clips.begin(), listing.clips.end(),
                                  [](const Clip &clip) { return clip.isClosed(); });
    return listing;
}

bool isUpToDate(const ClipListing &listing)
{
    return listing.settled && changeTime(listing.folder) == listing.changed;
}

std::vector<Clip> clipsOfPlayList(const std::vector<Clip> &clips, const std::string &names)
{
    std::unordered_map<std::string, const Clip *> byName;
    for (const Clip &clip : clips)
        byName.emplace(clip.getName(), &clip);
    std::vector<Clip> listed;
    std::istringstream lines(names);
    for (std::string name; std::getline(lines, name);) {
        const auto part = QmxClipPart::fromText(QString::fromStdString(name));
        const auto found = byName.find(part ? part->clip.toStdString() : name);
        if (found == byName.end()) continue;
        const Clip &clip = *found->second;
        if (!part || !part->isPart)
            listed.push_back(clip);
        else if (const auto listedPart = partOf(clip, *part, name))
            listed.push_back(*listedPart);
    }
    return listed;
}
