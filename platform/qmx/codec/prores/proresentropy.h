// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/codec/prores/proresdecodetables.h"

#include <span>

/// The entropy decoder of the components of slices. Two or more at a time: each code tells where the next one
/// begins, so that one alone leaves the processor waiting most of the time. Pure; any thread.
namespace ProResEntropy {

/// Levels by place: those of all blocks at the first place in coding order, then those at the second. Behind
/// them room for what is written or read at once.
struct Levels
{
    static constexpr int slack = 384;
    alignas(64) std::array<qint16, ProRes::groupSamples + slack> level{};
    int used = 0; ///< from here on all are 0: what has not been written needs no clearing
};

/// One component of a slice: its coded bytes and where its levels go.
struct Component
{
    const uchar *bytes = nullptr; ///< null: nothing to do
    int size = 0;
    int blocks = 0; ///< of 1 to ProRes::lanes
    Levels *levels = nullptr;
    // The result:
    int places = 0; ///< above the last one that any block has a level at; 0: the bytes are damaged
};

/// Slices and components (but alpha) that are decoded at once.
constexpr int mostSlices = 8;
constexpr int mostTogether = 3 * mostSlices;
/// What the codes are like where somebody decodes, so that the faster of two ways is taken, which have the
/// same result.
struct Habit
{
    bool isLong = true;
};
/// How many slices this machine decodes best at once: 2 or mostSlices.
int slicesTogether(const Habit &habit);

/// Decodes all up to the place `mostPlaces` (1: the DC levels alone). Reads nothing at or beyond `end`,
/// which is that of the frame. Their levels lie in one array. Learns of `habit`.
void decode(std::span<Component> components, int mostPlaces, const uchar *end, Habit &habit);

/// Decodes `count` alpha values of 8 or 16 bits into 16 bits; false: the bytes are damaged.
bool decodeAlpha(const uchar *bytes, int size, int bits, quint16 *values, int count);

} // namespace ProResEntropy
