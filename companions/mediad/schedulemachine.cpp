// SPDX-License-Identifier: GPL-3.0-or-later
#include "companions/mediad/schedulemachine.h"

#include <algorithm>
#include <utility>

namespace {

constexpr std::int64_t second = 1'000'000'000;
/// Commands are given again while they have no effect.
constexpr std::int64_t commandEvery = 2 * second;
/// A take without an end that could not begin for so long is given up.
constexpr std::int64_t longestWait = 600 * second;
/// Late by more than this is an alarm.
constexpr std::int64_t lateAfter = second;

} // namespace

ScheduleMachine::Orders ScheduleMachine::step(RecordSchedule &schedule, const View &view)
{
    Orders orders;
    bool waits = false;
    if (_firstWall == 0) _firstWall = view.wall;
    if (std::exchange(_frames, view.frames) != view.frames || view.wall < _framesAt) _framesAt = view.wall;
    const auto isArmed = [this](const ScheduledTake &take) { return take.number == _armed; };
    if (_armed != 0 && std::none_of(schedule.takes.begin(), schedule.takes.end(), isArmed)) disarm(orders);
    std::erase_if(schedule.takes, [&](ScheduledTake &take) {
        if (take.begun) {
            if (follow(take, view, orders)) return false;
            orders.changed = true;
            return true;
        }
        const std::int64_t over = take.end != 0 ? take.end : take.start + longestWait;
        if (view.wall >= over) {
            orders.log.push_back(take.describe() + " was not recorded: its time is over");
            orders.changed = true;
            return true;
        }
        if (waits || view.wall < take.start - armAhead.count()) return false;
        waits = true;
        wait(take, view, orders);
        return false;
    });
    const bool late =
        std::any_of(schedule.takes.begin(), schedule.takes.end(), [&](const ScheduledTake &take) {
            return !take.begun && view.wall > take.start + lateAfter;
        });
    if (!late) clear(orders);
    return orders;
}

/// Another command may be given.
bool ScheduleMachine::isDue(std::int64_t wall)
{
    // (A clock that has been set back must not hold up the commands.)
    if (wall < _commandAt && _commandAt - wall <= commandEvery) return false;
    _commandAt = wall + commandEvery;
    return true;
}

void ScheduleMachine::arm(const ScheduledTake &take, const View &view, Orders &orders)
{
    // Also when it is past: the recorder begins as near to it as its memory reaches, and says so.
    orders.writes.push_back({eParam_RecordEnd, MediaWrite::Text, 0, take.endText()});
    orders.writes.push_back({eParam_RecordStart, MediaWrite::Text, 0, take.startText()});
    if (_armed != take.number) _commanded = 0;
    _armed = take.number;
    _armedRecorder = view.recorder;
    _isGiven = false;
    _commandAt = 0;
}

/// A take that is about to begin, or should have begun.
void ScheduleMachine::wait(ScheduledTake &take, const View &view, Orders &orders)
{
    const bool isLate = view.wall > take.start + lateAfter;
    // (This program may have begun anew after the command.)
    const bool mayBeOurs = view.wall - _firstWall < commandAhead.count() &&
                           _firstWall > take.start - commandAhead.count() && !isLate;
    const bool isOurs = (_commanded == take.number && _armedRecorder == view.recorder) || mayBeOurs;
    if (view.recorder == 0) {
        if (isLate) raise(take, "the recorder is not running; start it", orders);
        return;
    }
    if (view.status == TransportStatus::Recording && isOurs) {
        take.begun = true;
        _armed = 0;
        _commanded = 0;
        _seen = 0;
        take.recorder = view.recorder;
        orders.changed = true;
        orders.log.push_back(take.describe() + " has begun");
        return;
    }
    if (view.status == TransportStatus::Recording) {
        if (isLate) raise(take, "another take runs; it begins when that ends", orders);
        return;
    }
    // (A start that has passed without a take has gone from the recorder.)
    const bool isArmed = _armed == take.number && _armedRecorder == view.recorder;
    const bool isInVain = isArmed && isLate && _isGiven && isDue(view.wall);
    if (isInVain) raise(take, "the recorder does not record; see the other alarms", orders);
    if (!isArmed || isInVain) {
        arm(take, view, orders);
        return; // the recorder shall know of it before the command comes
    }
    if (view.wall < take.start - commandAhead.count()) return;
    if (!isDue(view.wall)) return;
    _commanded = take.number;
    _isGiven = true;
    orders.writes.push_back(
        {eParam_TransportCommand, MediaWrite::Number, storeNumber(TransportCommand::Record), {}});
}

/// The recorder itself lets no frame in behind the last one.
bool ScheduleMachine::stillComes(const ScheduledTake &take, const View &view) const
{
    return !take.endTimecode.empty() && view.wall < take.end + (stopAfter + behindBy).count() &&
           view.wall - _framesAt < noneFor.count();
}

/// A take that runs; false when there is nothing more to do for it.
bool ScheduleMachine::follow(ScheduledTake &take, const View &view, Orders &orders)
{
    if (take.end == 0) return false; // whoever wants to stops it
    const bool runs = view.recorder != 0 && view.status == TransportStatus::Recording;
    if (view.wall >= take.end + stopAfter.count()) {
        if (!runs) {
            orders.log.push_back(take.describe() + " has ended");
            return false;
        }
        if (!stillComes(take, view) && isDue(view.wall))
            orders.writes.push_back(
                {eParam_TransportCommand, MediaWrite::Number, storeNumber(TransportCommand::Stop), {}});
        return true;
    }
    if (runs && _seen != take.number) _wasEnded = false;
    if (runs) _seen = take.number;
    if (view.commands > 0) _wasEnded = true;
    if (runs || view.recorder == 0) return true; // or it comes back
    if (view.recorder == take.recorder && (_wasEnded || _seen != take.number)) {
        orders.log.push_back(take.describe() + " was ended before its time");
        return false;
    }
    orders.log.push_back(take.describe() + ": the recorder has ended it; the rest is recorded");
    take.begun = false;
    orders.changed = true;
    _armed = 0;
    return true;
}

/// The take has been cancelled.
void ScheduleMachine::disarm(Orders &orders)
{
    _armed = 0;
    for (const eParam_t id : {eParam_RecordEnd, eParam_RecordStart})
        orders.writes.push_back({id, MediaWrite::Text, 0, {}});
}

void ScheduleMachine::raise(const ScheduledTake &take, const std::string &why, Orders &orders)
{
    const std::string text = "Scheduled " + take.describe() + " has not begun: " + why;
    if (text == _raised) return;
    _isFirst = false;
    _raised = text;
    orders.writes.push_back({eParam_AlarmScheduledTake, MediaWrite::RaiseAlarm, 0, text});
}

void ScheduleMachine::clear(Orders &orders)
{
    if (_raised.empty() && !std::exchange(_isFirst, false)) return;
    _raised.clear();
    orders.writes.push_back({eParam_AlarmScheduledTake, MediaWrite::ClearAlarm, 0, {}});
}
