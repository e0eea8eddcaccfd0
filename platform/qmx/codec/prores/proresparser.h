// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/codec/prores/proreslayout.h"
#include "platform/qmx/core/qmxerror.h"

/// A slice of a coded frame. Refers to the frame's bytes.
struct ProResCodedSlice
{
    ProResSlice place;
    const uchar *bytes = nullptr; ///< null: the frame does not hold it
    int size = 0;
};

/// A coded frame taken apart, nothing decoded: what its headers say and where its slices lie. Refers to the
/// bytes that it was made of. One object serves one frame after the other without new memory.
struct ProResCodedFrame
{
    /// Reads headers and tables of a frame of any coder (SMPTE RDD 36). An error: it is no frame, or says
    /// nothing usable of itself. What cannot be of its slices is left out: they are damaged. Never looks
    /// beyond `size` bytes, and makes no room for more slices than the bytes can name.
    QmxError parse(const uchar *bytes, qsizetype size);

    QSize size;
    ProResFormat::Scan scan = ProResFormat::Progressive;
    bool fullChroma = false;
    int alphaBits = 0; ///< 0, 8 or 16
    ProRes::Matrix lumaMatrix{};
    ProRes::Matrix chromaMatrix{};
    const uchar *end = nullptr; ///< of the frame
    std::vector<ProResCodedSlice> slices;

private:
    bool parsePicture(const uchar *&at, int picture);
};
