// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtGlobal>

/// Samples in files against samples in memory: 32-bit host integers whose upper 24 bits count.
namespace MovPcm {

/// How a sample stands in a file: signed integers.
struct Form
{
    int bits = 24; ///< 16, 24 or 32
    bool bigEndian = false;
    int bytes() const { return bits / 8; }
};

/// To 24-bit little-endian.
void toFile(const qint32 *from, qint64 count, uchar *to);

/// `count` samples of one channel out of `channels` interleaved ones; they go to every `step`-th place.
void fromFile(const uchar *from, qint64 count, const Form &form, int channel, int channels, qint32 *to,
              int step);

} // namespace MovPcm
