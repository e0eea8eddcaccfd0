// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/clip/movpcm.h"

void MovPcm::toFile(const qint32 *from, qint64 count, uchar *to)
{
    for (qint64 i = 0; i < count; ++i, to += 3) {
        const quint32 value = quint32(from[i]);
        to[0] = uchar(value >> 8);
        to[1] = uchar(value >> 16);
        to[2] = uchar(value >> 24);
    }
}

void MovPcm::fromFile(const uchar *from, qint64 count, const Form &form, int channel, int channels,
                      qint32 *to, int step)
{
    const int bytes = form.bytes();
    from += channel * bytes;
    for (qint64 i = 0; i < count; ++i, from += channels * bytes, to += step) {
        quint32 value = 0;
        for (int k = 0; k < bytes; ++k) {
            const int shift = 8 * (form.bigEndian ? 3 - k : 4 - bytes + k);
            value |= quint32(from[k]) << shift;
        }
        *to = qint32(value & 0xffffff00);
    }
}
