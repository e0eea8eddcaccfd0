// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxalarm.h"
#include "platform/qmx/device/decodedpictures.h"
#include "platform/qmx/device/tickschedule.h"
#include "platform/qmx/edges/qmxsource.h"

#include <functional>

/// Conditions of clock, inputs and outputs that an operator hears of: each is told when it changes. A machine
/// without thread and clock; the clock thread's own, so that nothing guards it.
class CardAlarms
{
public:
    explicit CardAlarms(std::function<void(const QmxAlarm &)> tell) : _tell(std::move(tell)) {}

    /// Late ticks within a second raise the alarm; it is cleared after a time in which no second had several.
    void tick(const TickSchedule::Step &step);
    /// The input has pictures without the sound that it had before: a take would be silent.
    void sound(bool isMissing);
    /// The picture that is played and is on the output now; null: of the input.
    void picture(const DecodedPicture *shown);
    /// Once a tick: an output cannot be served (`problem`, else empty); what is played cannot be shown.
    void output(const QString &problem);
    /// Pictures of the input come damaged or not at all. Told once, when a second has shown how often.
    void damage(const QmxSourceFrame &input, const QmxTick &tick);
    /// Variable-rate record is asked for and the input has no rate that varies; true when that changed.
    bool variableRate(bool isMissing);

private:
    void tell(const QmxId &id, const QString &problem, int line);

    std::function<void(const QmxAlarm &)> _tell;
    qint64 _lateSince = 0; ///< deadline of the first late tick of the present second
    qint64 _lastLate = 0;  ///< deadline of the last one that keeps the alarm
    int _late = 0;
    bool _isLate = false;
    bool _soundMissing = false;
    bool _rateMissing = false;
    QString _pictureProblem; ///< of the picture on the output
    QString _pictureTold;
    QString _outputTold;

    // Pictures of the input that came torn or not at all.
    qint64 _torn = 0, _missing = 0; ///< told by the source last
    qint64 _tornBefore = 0, _missingBefore = 0;
    qint64 _damageSince = 0; ///< the first one of those to be told; 0: none
    qint64 _lastDamage = 0;
    bool _damageTold = false;
};
