// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/codec/qmxpicture.h"
#include "platform/qmx/core/qmximagelut.h"

#include <array>
#include <memory>
#include <vector>

/// A three-dimensional look-up table: a colour for each of size³ nodes, between which four are interpolated
/// (tetrahedral). A value that nobody changes once it is made.
struct QmxCube
{
    static constexpr int leastSize = 2;
    static constexpr int mostSize = 65;
    static constexpr int step = 4; ///< numbers of a node: R, G, B and one that fills up

    int size = 0;
    std::array<float, 3> from{0, 0, 0}; ///< input colour of the first node
    std::array<float, 3> to{1, 1, 1};   ///< and of the last
    std::vector<float> nodes;           ///< 0 to 1 is black to white; red runs fastest

    /// What becomes of the greys from black to white: `entries` numbers (0 to 1023) in each run.
    void diagonal(short *red, short *green, short *blue, int entries) const;
    /// A picture through the table, in full-range R, G, B; YCbCr is converted there and back (BT.709 from 720
    /// lines on, else BT.601). Not valid when the pool is exhausted.
    QmxPicture applied(const QmxPicture &picture) const;
};

/// The three-dimensional tables of this process. A QmxImageLut that was read from the file of one holds its
/// diagonal and its name, and by both the whole table is found: whoever passes tables on need not know that
/// there are two kinds. Any thread.
namespace QmxCubes {
/// The newest `bound` are kept.
constexpr int bound = 4;
/// `mark` tells one content of the file from the next.
void keep(const QString &filename, const QString &mark, const std::shared_ptr<const QmxCube> &cube);
/// Null: the file's present content has not been read, or is none.
std::shared_ptr<const QmxCube> withMark(const QString &filename, const QString &mark);
/// Null: an ordinary table.
std::shared_ptr<const QmxCube> of(const QmxImageLut &lut);
} // namespace QmxCubes
