// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "companions/mediad/mediamachine.h"
#include "platform/product/recordschedule.h"

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

/// Records what the schedule says: tells the recorder some seconds before which frame a take begins with,
/// gives the command, and ends the take behind its last frame. The exact frames are the recorder's; this one
/// needs to be right to half a second only.
///
/// A recorder that ends in a take of the schedule records the rest when it is back; a take that somebody else
/// has ended is not begun again. A take that the recorder
/// itself has ended, because its input was lost say, is. One that cannot begin, because another one runs or
/// the recorder is not there, begins late, for what is left of it. No threads, no clock, no files; all that
/// must survive an end of this program stands in the schedule. One thread.
class ScheduleMachine
{
public:
    /// So long before its start the recorder is told of it, and is the command given.
    static constexpr std::chrono::nanoseconds armAhead = std::chrono::seconds(8);
    static constexpr std::chrono::nanoseconds commandAhead = std::chrono::seconds(4);
    /// So long after its end it is stopped: the frames up to the end have been captured.
    static constexpr std::chrono::nanoseconds stopAfter = std::chrono::milliseconds(300);
    /// A timecode may be behind the clock by so much (StartWatch has the same): frames of the take come until
    /// then, and it is stopped when none has come for a while.
    static constexpr std::chrono::nanoseconds behindBy = std::chrono::seconds(5);
    static constexpr std::chrono::nanoseconds noneFor = std::chrono::seconds(1);

    struct View
    {
        std::int64_t wall = 0; ///< time of day, ns since 1970-01-01 00:00 UTC
        int recorder = 0;      ///< process id; 0: none runs
        TransportStatus status = TransportStatus::ShutDown;
        int commands = 0;        ///< that ended a take, by others, since the step before
        std::int64_t frames = 0; ///< recorded so far; need only be known while a take has begun
    };
    struct Orders
    {
        std::vector<MediaWrite> writes; ///< in this order
        std::vector<std::string> log;
        bool changed = false; ///< the schedule is to be kept anew
    };

    Orders step(RecordSchedule &schedule, const View &view);

private:
    void wait(ScheduledTake &take, const View &view, Orders &orders);
    bool follow(ScheduledTake &take, const View &view, Orders &orders);
    void arm(const ScheduledTake &take, const View &view, Orders &orders);
    void raise(const ScheduledTake &take, const std::string &why, Orders &orders);
    void clear(Orders &orders);
    void disarm(Orders &orders);
    bool isDue(std::int64_t wall);
    bool stillComes(const ScheduledTake &take, const View &view) const;

    std::int64_t _firstWall = 0; ///< of the first step
    unsigned _armed = 0;         ///< number of the take that the recorder has been told of and has not begun
    int _armedRecorder = 0;      ///< and which recorder that was
    unsigned _commanded = 0;     ///< number of the take whose command has been given
    bool _isGiven = false;       ///< the command has, since the recorder was told
    std::int64_t _commandAt = 0; ///< when a command may be given next
    std::int64_t _frames = 0;    ///< recorded at the last step ...
    std::int64_t _framesAt = 0;  ///< ... and since when
    unsigned _seen = 0;          ///< number of the take that has been seen to run
    bool _wasEnded = false;      ///< by somebody's command, since then
    std::string _raised;         ///< text of the alarm that stands
    bool _isFirst = true;
};
