// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/codec/prores/proresheader.h"

#include <QtEndian>

#include <algorithm>
#include <bit>
#include <cstring>

void ProResHeader::putFrame(const ProResFormat &format, int size, uchar *out)
{
    constexpr int ownSize = frameSize - 8;
    constexpr int chroma422 = 2;
    constexpr int chroma444 = 3;
    constexpr int alpha16 = 2;
    constexpr uchar bothMatrices = 3;
    const bool full = format.kind->fullChroma;
    qToBigEndian(quint32(size), out);
    std::copy_n("icpf", 4, out + 4);
    uchar *header = out + 8;
    std::memset(header, 0, ownSize);
    qToBigEndian(quint16(ownSize), header);
    header[3] = full ? 1 : 0; // version of the bitstream
    std::copy_n(encoderIdentifier, 4, header + 4);
    qToBigEndian(quint16(format.size.width()), header + 8);
    qToBigEndian(quint16(format.size.height()), header + 10);
    header[12] = uchar((full ? chroma444 : chroma422) << 6 | format.scan << 2);
    header[13] = uchar(format.aspect << 4 | format.rate);
    header[14] = uchar(format.primaries);
    header[15] = uchar(format.transfer);
    header[16] = uchar(format.matrix);
    header[17] = format.alpha ? alpha16 : 0;
    header[19] = bothMatrices;
    for (int i = 0; i < 2; ++i)
        std::memcpy(header + 20 + i * ProRes::blockSamples, format.kind->matrix->data(),
                    ProRes::blockSamples);
}

void ProResHeader::putPicture(int size, int slices, uchar *out)
{
    constexpr int sliceLengthShift = 4;
    out[0] = pictureSize << 3;
    qToBigEndian(quint32(size), out + 1);
    qToBigEndian(quint16(slices), out + 5);
    out[7] = uchar(std::countr_zero(unsigned(ProRes::largestSlice)) << sliceLengthShift);
}
