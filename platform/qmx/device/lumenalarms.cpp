// SPDX-License-Identifier: GPL-3.0-or-later
// Conditions of inputs and outputs that an operator hears of, on the clock thread.
#include "platform/qmx/core/qmxids.h"
#include "platform/qmx/device/lumenengine.h"

void LumenEngine::pictureAlarm(const DecodedPicture &shown)
{
    _pictureProblem.clear();
    if (shown.failed)
        _pictureProblem = QStringLiteral("A picture cannot be shown (%1): the output is black")
                              .arg(shown.image.desc().toString());
    else if (shown.damagedParts > 0)
        _pictureProblem = QStringLiteral("A picture of the clip is damaged: parts of it are grey");
}

/// An output cannot be served, or what is played cannot be shown: one alarm, whichever of them is first.
void LumenEngine::outputAlarm()
{
    const QString problem = _pictureProblem.isEmpty() ? _output.problem() : _pictureProblem;
    if (problem == _outputProblem) return;
    _outputProblem = problem;
    pushAlarm(QmxIds::alarmOutputFailed, problem.isEmpty() ? QmxAlarm::Clear : QmxAlarm::Warning, problem,
              __LINE__);
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
