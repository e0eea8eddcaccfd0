// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

#include <chrono>
#include <optional>

struct DeckState;
struct QmxPreviewPicture;
class Recorder;

using FiguresAge = std::chrono::duration<qint64, std::deci>;

/// How long ago what shared memory tells was told, to a tenth of a second: of a daemon that has ended, stands
/// still, or is all that is known while the store is away. Nothing: not known.
std::optional<FiguresAge> figuresAge(const Recorder &recorder, const std::optional<QmxPreviewPicture> &card);
/// ", 1.2 s old"; empty when it is not known.
QString ageText(const std::optional<FiguresAge> &age);
/// What a daemon that has ended had recorded last, as a line of `status`.
QString lastTakeText(const DeckState &deck, const std::optional<FiguresAge> &age);
/// For programs, in seconds; -1: not known.
double ageNumber(const std::optional<FiguresAge> &age);
