// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/control/recorder.h"
#include "platform/control/verbs.h"

/// Stops the take that runs and waits until its clip is closed: as long as its frames go on becoming safe.
/// `progress`: as a request has it.
Answer endOfTake(Recorder &recorder,
                 const std::function<void(int percent, const QString &text)> &progress = {});
/// Who has asked for a take a moment ago that the status does not tell yet; it may be refused still.
std::optional<Who> takeOnItsWay(const Recorder &recorder);
/// A take runs; of one on its way it is waited for.
bool takeRunsOrBegins(const Recorder &recorder);
/// Why no take could begin now, as far as that can be told before: nothing stands in its way when it is
/// empty.
std::optional<Answer> whyNoTake(Recorder &recorder);
/// Whether `who` could begin a take now: done, or what stands in the way.
Answer readiness(Recorder &recorder, const Who &who);
