// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/device/cardalarms.h"

#include "platform/qmx/core/qmxclock.h"
#include "platform/qmx/core/qmxcounted.h"
#include "platform/qmx/core/qmxids.h"

#include <algorithm>
#include <utility>

namespace {
constexpr const char *alarmSource = "lumen";
/// Late ticks within a second that raise the alarm, and those that keep it; it is cleared after a quiet time.
/// (A single one now and then is no harm, and would keep for hours what it would never have raised.)
constexpr int lateForAlarm = 5;
constexpr int lateToKeep = 2;
constexpr qint64 lateQuietTime = 5 * QmxClock::nsPerSecond;
/// So long after the last damage it is over.
constexpr qint64 damageQuietTime = 10 * QmxClock::nsPerSecond;
} // namespace

void CardAlarms::tell(const QmxId &id, const QString &problem, int line)
{
    _tell(QmxAlarm(id, problem.isEmpty() ? QmxAlarm::Clear : QmxAlarm::Warning, problem,
                   QLatin1String(alarmSource), line));
}

void CardAlarms::tick(const TickSchedule::Step &step)
{
    if (step.late) {
        if (step.deadline - _lateSince > QmxClock::nsPerSecond) {
            _lateSince = step.deadline;
            _late = 0;
        }
        _late += int(std::max<qint64>(1, step.missedFrames));
        if (_late >= lateToKeep) _lastLate = step.deadline;
    }
    const bool alarm =
        _isLate ? step.deadline - _lastLate < lateQuietTime : step.late && _late >= lateForAlarm;
    if (std::exchange(_isLate, alarm) == alarm) return;
    tell(QmxIds::alarmClockLate,
         alarm
             ? "The machine is too slow: " +
                   qmxCounted(_late, "tick of the video clock was", "ticks of the video clock were") + " late"
             : QString(),
         __LINE__);
}

void CardAlarms::sound(bool isMissing)
{
    if (std::exchange(_soundMissing, isMissing) == isMissing) return;
    tell(QmxIds::alarmAudioInputLost,
         isMissing ? QStringLiteral("The input has pictures, but its sound is gone: silence is recorded")
                   : QString(),
         __LINE__);
}

void CardAlarms::picture(const DecodedPicture *shown)
{
    _pictureProblem.clear();
    if (shown && shown->failed)
        _pictureProblem = QStringLiteral("A picture cannot be shown (%1): the output is black")
                              .arg(shown->image.desc().toString());
    else if (shown && shown->damagedParts > 0)
        _pictureProblem = QStringLiteral("A picture of the clip is damaged: parts of it are grey");
}

void CardAlarms::output(const QString &problem)
{
    if (std::exchange(_outputTold, problem) != problem) tell(QmxIds::alarmOutputFailed, problem, __LINE__);
    if (std::exchange(_pictureTold, _pictureProblem) != _pictureProblem)
        tell(QmxIds::alarmPictureDamaged, _pictureProblem, __LINE__);
}

void CardAlarms::damage(const QmxSourceFrame &input, const QmxTick &tick)
{
    const bool isAnother = input.torn < _torn || input.missing < _missing;
    if (isAnother) _torn = _missing = _damageSince = 0;
    const bool more = input.torn > _torn || input.missing > _missing;
    if (more && _damageSince == 0) {
        _damageSince = tick.deadline;
        _tornBefore = _torn;
        _missingBefore = _missing;
    }
    if (more) _lastDamage = tick.deadline;
    _torn = input.torn;
    _missing = input.missing;
    if (_damageSince == 0) return;
    if (!_damageTold && tick.deadline - _damageSince >= QmxClock::nsPerSecond) {
        _damageTold = true;
        const qint64 torn = _torn - _tornBefore;
        const qint64 missing = _missing - _missingBefore;
        const double share = 100.0 * double(torn + missing) / std::max(tick.rate.toDouble(), 1.0);
        tell(QmxIds::alarmInputDamaged,
             QStringLiteral("Pictures of the input come damaged: %1 torn and %2 missing in a second (%3 %)")
                 .arg(torn)
                 .arg(missing)
                 .arg(std::min(share, 100.0), 0, 'f', 0),
             __LINE__);
    }
    if (tick.deadline - _lastDamage < damageQuietTime) return;
    _damageSince = 0;
    if (std::exchange(_damageTold, false)) tell(QmxIds::alarmInputDamaged, {}, __LINE__);
}

bool CardAlarms::variableRate(bool isMissing)
{
    return std::exchange(_rateMissing, isMissing) != isMissing;
}
