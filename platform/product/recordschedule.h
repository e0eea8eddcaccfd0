// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

/// A take that is to come. Times are nanoseconds since 1970-01-01 00:00 UTC.
struct ScheduledTake
{
    unsigned number = 0;
    std::int64_t start = 0;
    std::int64_t end = 0;      ///< 0: until somebody stops it
    std::string startTimecode; ///< of its first frame; empty: by the time of day
    std::string endTimecode;   ///< of the frame after its last one
    bool begun = false;
    int recorder = 0; ///< process id of the recorder that began it

    /// As record_start and record_end take them.
    std::string startText() const;
    std::string endText() const;
    /// "take 3, 2030-01-31 10:00:00 to 10:30:00", in local time.
    std::string describe() const;

    friend bool operator==(const ScheduledTake &, const ScheduledTake &) = default;
};

/// The takes to come, in the order of their starts, as the parameter record_schedule holds them: one a line.
/// A plain value.
struct RecordSchedule
{
    static constexpr std::size_t most = 64;
    /// Between two takes the recorder closes a clip and opens another.
    static constexpr std::chrono::seconds gap{5};

    std::vector<ScheduledTake> takes;

    static RecordSchedule parse(const std::string &text); ///< lines that make no sense are passed over
    std::string print() const;

    /// Adds one as an operator writes it: a timecode or a time of day is the next one, with a date before it
    /// that day's; `end` may be empty, as may `start`, which then is now. Its number; 0: refused, with the
    /// sentence why in `reason`.
    unsigned add(const std::string &start, const std::string &end, std::int64_t now, std::string &reason);
    /// False with a reason when there is none of this number.
    bool cancel(unsigned number, std::string &reason);
};
