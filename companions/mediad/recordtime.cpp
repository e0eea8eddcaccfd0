// SPDX-License-Identifier: GPL-3.0-or-later
#include "companions/mediad/recordtime.h"

#include <algorithm>

namespace {

/// Frames after which the size of a clip says what a second costs: until then its head and what is reserved
/// weigh too much.
constexpr std::int64_t framesForRate = 50;
/// The transport rounds to whole percent: a level counts as reached half a percent above.
constexpr double rounding = 0.5;
constexpr int mostSeconds = 1'000'000;
/// Over which others are watched, ns.
constexpr std::int64_t longestLook = 30'000'000'000;
constexpr std::int64_t shortestLook = 4'000'000'000;
/// What one writer has allocated ahead at most: so many bytes, or this share of the medium.
constexpr std::int64_t mostAhead = std::int64_t(256) << 20;
constexpr std::int64_t shareAhead = 256;

/// It is written to beside the others: a take does not go on there.
bool isMirror(const Medium &medium, const MediaParameters &parameters)
{
    return parameters.mirror == medium.path || parameters.mirror.starts_with(medium.path + "/");
}

const char *stateOf(const Medium &medium, const MediaParameters &parameters)
{
    if (parameters.active == medium.path) return "active";
    if (!medium.writable) return "read_only";
    if (parameters.rollover == medium.path) return "next";
    if (isMirror(medium, parameters)) return "mirror";
    return medium.percentFree <= MediumLevel::full ? "full" : "usable";
}

} // namespace

void RecordTime::observe(std::int64_t bytes, std::int64_t frames, double framesPerSecond)
{
    if (frames < framesForRate || framesPerSecond <= 0 || bytes <= 0) return;
    _rate = static_cast<double>(bytes) / static_cast<double>(frames) * framesPerSecond;
}

void RecordTime::observeRoom(std::int64_t now, const std::vector<Medium> &media)
{
    std::map<std::string, std::deque<Room>> rooms;
    for (const Medium &medium : media) {
        std::deque<Room> &past = rooms[medium.path];
        if (const auto before = _rooms.find(medium.path); before != _rooms.end())
            past = std::move(before->second);
        // A clip that was deleted, or another take: what was seen before says nothing of now.
        if (!past.empty() &&
            (medium.bytesFree > past.back().bytesFree || medium.recordedBytes < past.back().recordedBytes ||
             medium.bytesTotal != past.back().bytesTotal))
            past.clear();
        past.push_back({now, medium.bytesFree, medium.recordedBytes, medium.bytesTotal});
        while (now - past.front().time > longestLook)
            past.pop_front();
    }
    _rooms = std::move(rooms);
}

double RecordTime::othersRate(const std::string &path) const
{
    const auto rooms = _rooms.find(path);
    if (rooms == _rooms.end() || rooms->second.empty()) return 0;
    const Room &first = rooms->second.front();
    const Room &last = rooms->second.back();
    const std::int64_t time = last.time - first.time;
    // Room is taken ahead in pieces, by us too: less than one of them says nothing.
    const std::int64_t gone = first.bytesFree - last.bytesFree - (last.recordedBytes - first.recordedBytes);
    const std::int64_t pieces = std::min(mostAhead, last.bytesTotal / shareAhead);
    if (time < shortestLook || gone <= pieces) return 0;
    return static_cast<double>(gone) / (static_cast<double>(time) / 1e9);
}

double RecordTime::rate(const std::vector<Medium> &media) const
{
    if (_rate > 0) return std::max(_rate, _nominal);
    for (const Medium &medium : media)
        if (medium.newestRate > 0) return std::max(medium.newestRate, _nominal);
    return _nominal;
}

int RecordTime::secondsLeft(const Medium &medium, double level, double rate)
{
    if (rate <= 0) return -1;
    if (!medium.writable) return 0;
    const double room = static_cast<double>(medium.bytesFree) -
                        static_cast<double>(medium.bytesTotal) * (level + rounding) / 100;
    return static_cast<int>(std::clamp(room / rate, 0.0, static_cast<double>(mostSeconds)));
}

RecordTime::Report RecordTime::report(const std::vector<Medium> &media,
                                      const MediaParameters &parameters) const
{
    const double bytesPerSecond = rate(media);
    Report result;
    const Medium *last = nullptr;
    for (const Medium &medium : media) {
        const double all = bytesPerSecond > 0 ? bytesPerSecond + othersRate(medium.path) : 0;
        const int left = secondsLeft(medium, MediumLevel::full, all);
        result.media.push_back({medium.path, medium.label, stateOf(medium, parameters), medium.percentFree,
                                medium.bytesFree, medium.bytesTotal, static_cast<int>(medium.names.size()),
                                left});
        const bool active = medium.path == parameters.active;
        const bool goesOn = parameters.rolloverEnabled && medium.percentFree > MediumLevel::target &&
                            !isMirror(medium, parameters);
        if (left <= 0 || !(active || goesOn)) continue;
        result.secondsLeft += left;
        if (!last || !active) last = &medium;
    }
    // With rollover a take that has nowhere to go on uses up a little more of the medium.
    if (last && parameters.rolloverEnabled)
        result.secondsLeft += secondsLeft(*last, MediumLevel::stop, bytesPerSecond) -
                              secondsLeft(*last, MediumLevel::full, bytesPerSecond);
    return result;
}
