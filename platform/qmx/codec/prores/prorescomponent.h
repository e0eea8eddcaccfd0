// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/codec/prores/prorescodetables.h"
#include "platform/qmx/codec/prores/proreskernels.h"

/// The entropy coder of one component of a slice. Pure; any thread.
namespace ProResComponent {

/// The lanes of a group that are the component's blocks, in coding order.
struct Lanes
{
    int first;
    int count;
};

/// Most bytes that a component of a slice takes: at most 46 bits a coefficient.
constexpr int largest = ProRes::groupSamples * 46 / 8 + 64;

/// Codes the levels; bytes written. At `out` there must be room for `largest` bytes.
int code(const ProResKernels::Levels &levels, const Lanes &lanes, const ProResCodeTables &tables, uchar *out);

/// Codes `count` alpha values of 16 bits; bytes written, at most largestAlpha().
int codeAlpha(const quint16 *values, int count, uchar *out);
constexpr int largestAlpha = ProRes::groupSamples * 22 / 8 + 64;

} // namespace ProResComponent
