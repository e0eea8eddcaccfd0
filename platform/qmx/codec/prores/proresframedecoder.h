// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/codec/prores/proresslicedecoder.h"
#include "platform/qmx/core/qmxhelpers.h"

/// Decodes ProRes frames of all kinds, of any coder, whole or at a half, a quarter or an eighth of their
/// size. Samples are within 1 of those of the exact inverse transform, the same on every machine and with any
/// number of helpers. Allocates nothing a frame once it has seen one of its kind. One thread at a time.
class ProResFrameDecoder
{
public:
    ProResFrameDecoder();
    ~ProResFrameDecoder();

    /// Who may work at the slices of a frame together with the caller of decode(); null: nobody.
    void setHelpers(QmxHelpers *helpers);
    /// Takes a frame apart; frame() then says what it is. The bytes must stay until it has been decoded.
    QmxError read(const uchar *bytes, qsizetype size) { return _frame.parse(bytes, size); }
    const ProResCodedFrame &frame() const { return _frame; }
    /// Raster of the frame at a scale.
    QSize sizeAt(ProResInverse::Scale scale) const { return ProResSliceDecoder::sizeAt(_frame.size, scale); }
    /// Decodes the frame that was read last. Planes that are null are left out (alpha), where an alpha plane
    /// is wanted and the frame has none it becomes opaque. How many slices were damaged; they are grey.
    int decode(const ProResTarget &target, ProResInverse::Scale scale = ProResInverse::Scale::Full);

private:
    int decodeSlices(size_t first, size_t count, ProResSliceDecoder &decoder) const;

    ProResCodedFrame _frame;
    QmxHelpers *_helpers = nullptr;
    std::vector<std::unique_ptr<ProResSliceDecoder>> _decoders; ///< one a thread
};
