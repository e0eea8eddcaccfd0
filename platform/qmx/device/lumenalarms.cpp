// SPDX-License-Identifier: GPL-3.0-or-later
// Conditions of inputs and outputs that an operator hears of, on the clock thread.
#include "platform/qmx/core/qmxids.h"
#include "platform/qmx/device/lumenengine.h"

#include <algorithm>
#include <utility>

namespace {
/// So long after the last damage it is over.
constexpr qint64 damageQuietTime = 10 * QmxClock::nsPerSecond;
} // namespace

void LumenEngine::pictureAlarm(const DecodedPicture &shown)
{
    _pictureProblem.clear();
    if (shown.failed)
        _pictureProblem = QStringLiteral("A picture cannot be shown (%1): the output is black")
                              .arg(shown.image.desc().toString());
    else if (shown.damagedParts > 0)
        _pictureProblem = QStringLiteral("A picture of the clip is damaged: parts of it are grey");
}

/// An output cannot be served; what is played cannot be shown.
void LumenEngine::outputAlarm()
{
    const auto tell = [this](const QmxId &id, const QString &problem, QString &told) {
        if (problem == told) return;
        told = problem;
        pushAlarm(id, problem.isEmpty() ? QmxAlarm::Clear : QmxAlarm::Warning, problem, __LINE__);
    };
    tell(QmxIds::alarmOutputFailed, _output.problem(), _outputProblem);
    tell(QmxIds::alarmPictureDamaged, _pictureProblem, _pictureAlarm);
}

/// Pictures of the input come damaged or not at all. Told once, when a second has shown how often.
void LumenEngine::damageAlarm(const Seen &seen, const QmxTick &tick)
{
    Damage &now = _damage;
    const bool isAnother = seen.input.torn < now.torn || seen.input.missing < now.missing;
    if (isAnother) now.torn = now.missing = now.since = 0;
    const bool more = seen.input.torn > now.torn || seen.input.missing > now.missing;
    if (more && now.since == 0) {
        now.since = tick.deadline;
        now.tornBefore = now.torn;
        now.missingBefore = now.missing;
    }
    if (more) now.last = tick.deadline;
    now.torn = seen.input.torn;
    now.missing = seen.input.missing;
    if (now.since == 0) return;
    if (!now.alarm && tick.deadline - now.since >= QmxClock::nsPerSecond) {
        now.alarm = true;
        const qint64 torn = now.torn - now.tornBefore;
        const qint64 missing = now.missing - now.missingBefore;
        const double share = 100.0 * double(torn + missing) / std::max(tick.rate.toDouble(), 1.0);
        pushAlarm(
            QmxIds::alarmInputDamaged, QmxAlarm::Warning,
            QStringLiteral("Pictures of the input come damaged: %1 torn and %2 missing in a second (%3 %)")
                .arg(torn)
                .arg(missing)
                .arg(std::min(share, 100.0), 0, 'f', 0),
            __LINE__);
    }
    if (tick.deadline - now.last < damageQuietTime) return;
    now.since = 0;
    if (std::exchange(now.alarm, false))
        pushAlarm(QmxIds::alarmInputDamaged, QmxAlarm::Clear, QString(), __LINE__);
}

/// The input has pictures without the sound that it had before: a take would be silent.
void LumenEngine::soundAlarm(const Seen &seen)
{
    const bool usesInput = !_playing && _running.audioDesc().isValid() &&
                           _running.audioInputSource() != QmxIds::internalGenerator;
    const bool alarm = usesInput && seen.input.soundMissing;
    if (alarm == _soundAlarm) return;
    _soundAlarm = alarm;
    pushAlarm(QmxIds::alarmAudioInputLost, alarm ? QmxAlarm::Warning : QmxAlarm::Clear,
              alarm ? QStringLiteral("The input has pictures, but its sound is gone: silence is recorded")
                    : QString(),
              __LINE__);
}
