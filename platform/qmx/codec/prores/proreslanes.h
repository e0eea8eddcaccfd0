// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/codec/prores/proresformat.h"

#include <span>

/// The entropy decoder for many components at once, each in a lane of a vector and without a branch for what
/// a code is: pictures with hard edges have codes of every length, and each wrong guess of the processor
/// costs as much as several codes. Only on processors with 512-bit vectors that count leading zeros and look
/// up bytes (AVX-512 CD and VBMI). Pure; any thread.
namespace ProResLanes {

/// Where the pairs of a component are read and written.
struct Job
{
    const uchar *bytes = nullptr;
    qint64 position = 0;           ///< in bits, of the next pair
    qint64 end = 0;                ///< of the bits that belong to the component
    qint16 *out = nullptr;         ///< the level written last
    const qint16 *limit = nullptr; ///< of the places that are wanted
    int runBook = 0, levelBook = 0;
};

/// The DC levels of a component.
struct MeansJob
{
    const uchar *bytes = nullptr; ///< null: nothing to do
    int size = 0;                 ///< bytes
    qint16 *out = nullptr;
    int blocks = 0;
    // The result:
    bool good = false;   ///< all levels are there, of ordinary codes within the bytes
    qint64 position = 0; ///< in bits, behind them
};

/// Jobs that are worked on at once; with fewer of them there is little to gain.
constexpr int lanes = 8;
constexpr int readBehind = 8; ///< bytes behind each job's own that are looked at
bool available();

/// Takes each job as far as its pairs are ordinary ones. What is left of it is for another decoder: its last
/// bits, what is damaged or too long, and the rest of the last jobs when few are left. All bytes must lie in
/// one piece of memory, with `readBehind` more behind each job's; likewise the levels.
void advance(std::span<Job> jobs);
/// The same with AVX2, which the caller has asked for: sixteen lanes that are narrower. About how many pairs
/// there were.
qint64 advanceNarrow(std::span<Job> jobs);
/// Each job from its beginning; those that are not good then are for another decoder. Up to ProRes::lanes
/// levels are written; behind those of its blocks they are 0.
void advance(std::span<MeansJob> jobs);

} // namespace ProResLanes
