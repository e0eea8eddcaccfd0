// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

#include <optional>

struct DeckState;
struct QmxPreviewPicture;
class Recorder;

/// How long ago what shared memory tells was told, in seconds: of a daemon that has ended, stands still, or
/// is all that is known while the store is away. -1: not known.
double figuresAge(const Recorder &recorder, const std::optional<QmxPreviewPicture> &card);
/// ", 1.2 s old"; empty when it is not known.
QString ageText(double age);
/// What a daemon that has ended had recorded last, as a line of `status`.
QString lastTakeText(const DeckState &deck, double age);
