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
        const int left = secondsLeft(medium, MediumLevel::full, bytesPerSecond);
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
