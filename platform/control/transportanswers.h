// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/control/recorder.h"
#include "platform/control/verbs.h"
#include "platform/store/values.h"

#include <QJsonObject>

#include <chrono>
#include <optional>

/// How long verbs wait, in recorder time.
namespace Wait {
/// A command given during a mode change is dropped by the daemon: it is repeated for this long.
constexpr std::chrono::milliseconds repeatFor(3000);
constexpr std::chrono::milliseconds repeatEvery(500);
/// An effect that has not come by then does not come.
constexpr std::chrono::milliseconds effectWithin(10000);
/// A picture for a cue or a step, coded and decoded, with a busy disk.
constexpr std::chrono::milliseconds pictureWithin(3000);
} // namespace Wait

/// Empty when the command was written, else why not.
QString give(Recorder &recorder, TransportCommand command);
/// What to do about a reason for which the recorder takes no pictures; empty: it has none to give.
QString adviceOn(const QmxId &reason);
Answer storeError(const QString &reason);
/// The daemon is there, but does nothing now.
Answer standsStill(const QString &what = {});
Answer noDaemon();
/// The effect did not come: says why, as far as it can be known. `errors` are alarms that came instead of it.
Answer gaveUp(const Recorder &recorder, const QString &what, const QList<Recorder::Alarm> &errors = {});
/// The timecode of the picture on the output is told by the daemon's event loop, a moment behind the picture.
void awaitTimecode(const Recorder &recorder);
/// What every verb that moves the transport tells a program.
QJsonObject transportObject(const Recorder &recorder);
bool isRecording(const Recorder &recorder);
/// Nothing, or that the current clip has no such frame (a number or a timecode), with those that it has. Of
/// lists the daemon alone knows what is in them now: nothing. Asks the disk.
std::optional<Answer> outsideMaterial(const Recorder &recorder, const QString &where);
