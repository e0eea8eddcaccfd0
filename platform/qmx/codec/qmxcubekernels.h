// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/codec/qmxcube.h"

#include <QtGlobal>

/// The inner loop of three-dimensional tables, compiled for every instruction set.
namespace QmxCubeKernels {

/// Samples that a call may read and write beyond the end of a row.
constexpr int padding = 32;

/// Three rows of 10-bit samples of the same length.
template <typename Sample>
using Rows = std::array<Sample *, 3>;

/// How Y, Cb, Cr become R, G, B; weights of R and B in Y. Both zero: the samples are R, G, B.
struct Matrix
{
    float red = 0;
    float blue = 0;
};

void apply(const QmxCube &cube, const Matrix &matrix, const Rows<const quint16> &from,
           const Rows<quint16> &to, int count);

} // namespace QmxCubeKernels
