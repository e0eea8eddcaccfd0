// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/codec/prores/proresratecontrol.h"
#include "platform/qmx/codec/prores/proresslicecoder.h"
#include "platform/qmx/core/qmxbuffer.h"
#include "platform/qmx/core/qmxhelpers.h"

#include <memory>

/// Codes frames of one format. The bytes depend on the frames alone, not on the helpers. Allocates nothing a
/// frame but the pool memory of its result. One thread at a time.
class ProResFrameCoder
{
public:
    explicit ProResFrameCoder(const ProResFormat &format);
    ~ProResFrameCoder();

    const ProResFormat &format() const { return _format; }
    /// No frame is larger than this, in bytes, the alpha channel left out.
    int limit() const { return _limit; }
    /// Aims at frames of another size than the kind's nominal one, in bytes; begins anew.
    void setNominalSize(int bytes);
    /// Who may work at the slices of a frame together with the caller of encode(); null: nobody.
    void setHelpers(QmxHelpers *helpers);
    /// Every frame with this quantiser (1 to ProRes::coarsestQuantiser) whatever its size; 0: by the data
    /// rate.
    void setFixedQuantiser(int quantiser) { _fixedQuantiser = quantiser; }

    /// Not valid: out of picture memory.
    QmxBuffer encode(const ProResPlanes &frame);

private:
    void sample();
    void prefetch(const ProResSlice &slice, const ProResSliceCoder &coder) const;
    bool codeFrame(int &size);
    void chooseQuantisers(int firstRow, int lastRow, double scale);
    uchar *codeBand(int firstRow, int lastRow, uchar *at);
    int codeRow(int row, uchar *out, const uchar *end, int thread);
    void putTables(int size);
    qsizetype capacity() const;
    size_t slicesBefore(int row) const { return size_t(row) * size_t(_slicesInRow); }

    ProResFormat _format;
    QmxHelpers *_helpers = nullptr;
    ProResLayout _layout;
    int _limit;
    int _fixedQuantiser = 0;
    int _longestBand = 0; ///< rows
    int _rows;            ///< of slices, in all pictures
    int _slicesInRow;
    int _frameNumber = 0;
    ProResRateControl _rate;
    std::array<int, ProResRateControl::mostBands + 1> _bandBegin{}; ///< its first row
    std::vector<std::unique_ptr<ProResSliceCoder>> _coders;         ///< one a thread
    std::array<ProResPlanes, 2> _pictures;
    std::vector<quint8> _quantisers; ///< of the slices
    std::vector<quint16> _sizes;     ///< of the slices, in bytes
    std::vector<int> _rowSizes;      ///< negative: no room
    std::vector<int> _rowAlpha;
    std::unique_ptr<uchar[]> _rowMemory; ///< for helpers: a piece for each row of a band
    QmxBuffer _buffer;
};
