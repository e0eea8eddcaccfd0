// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtGlobal>

/// The inner loop of pictures made twice as large, compiled for every instruction set.
namespace QmxEnlargeKernels {

/// `width` samples of 10 bits of a row of the larger picture: of two rows of (width + 1) / 2 samples, the
/// nearer one counts three times as much as the other, and so does along the rows the nearer sample. Each
/// sample of the smaller picture lies in the middle of four of the larger one.
void enlargeRow(const quint16 *near, const quint16 *far, int width, quint16 *out);

} // namespace QmxEnlargeKernels
