// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtGlobal>

/// The inner loop of small pictures, compiled for every instruction set.
namespace QmxReduceKernels {

/// `width` samples of 8 bits, each the rounded mean of four samples of 10 bits: of every `factor` columns the
/// first and the middle one, in both rows. Rows of at least width * factor samples.
void reduceRow(const quint16 *near, const quint16 *far, int factor, int width, uchar *out);

} // namespace QmxReduceKernels
