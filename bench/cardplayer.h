// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "bench/benchclip.h"

#include <optional>

/// Milliseconds a frame of a clip that goes through the cache and the video card, whose ticks come faster
/// than pictures can be decoded; by our decoder or by libavcodec's. Nothing: it did not go through.
std::optional<double> playThroughCard(BenchPlayer &player, int frames, bool byLibav,
                                      const QSize &size = benchClipSize);
/// The part of the ticks that showed the picture before again, where so many a second come; as in a shuttle,
/// which shows smaller pictures then, or not.
std::optional<double> heldByCard(BenchPlayer &player, int frames, double ticksASecond, bool shuttle,
                                 const QSize &size);
/// Milliseconds of each cue: from the order to the picture on the output of a card with a thousand ticks a
/// second. Empty: one did not come.
QList<double> cueThroughCard(BenchPlayer &player, const QList<int> &targets);
