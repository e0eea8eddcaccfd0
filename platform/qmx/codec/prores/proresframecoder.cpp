// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/codec/prores/proresframecoder.h"

#include "platform/qmx/codec/prores/proresheader.h"

#include <QtEndian>

#include <algorithm>
#include <cstring>
#include <numeric>

namespace {
/// A frame aims at its nominal size and may be this much larger.
constexpr double limitShare = 1.05;
constexpr double targetShare = 0.998;
constexpr int tableEntry = 2; ///< bytes of a slice in the table of a picture
/// About so many slices of a frame are looked at before it is coded, at least each eighth.
constexpr int sampledSlices = 64;
constexpr int longestSamplePeriod = 8;
/// Below this part of its memory a frame moves to memory of its size.
constexpr int wastefulPart = 2;

int overhead(const ProResLayout &layout)
{
    return ProResHeader::frameSize + layout.pictures() * ProResHeader::pictureSize +
           tableEntry * int(layout.slices().size());
}

/// Pictures of a few macroblocks are hardly more than headers: some bytes a slice they have in any case.
int limitOf(int nominal, const ProResLayout &layout)
{
    constexpr int leastForSlice = 160; ///< its DC coefficients at the coarsest quantiser
    return std::max(int(nominal * limitShare),
                    overhead(layout) + leastForSlice * int(layout.slices().size() + 1));
}

ProResRateControl rateControl(int nominal, const ProResLayout &layout)
{
    const int head = overhead(layout);
    const double limit = limitOf(nominal, layout) - head;
    return {std::max(nominal * targetShare - head, limit / (limitShare * limitShare)), limit};
}
} // namespace

ProResFrameCoder::ProResFrameCoder(const ProResFormat &format)
    : _format(format),
      _layout(format),
      _limit(limitOf(ProRes::nominalSize(*format.kind, format.size), _layout)),
      _rate(rateControl(ProRes::nominalSize(*format.kind, format.size), _layout))
{
    const auto &slices = _layout.slices();
    _slicesInRow = int(std::count_if(slices.begin(), slices.end(), [](const ProResSlice &slice) {
        return slice.picture == 0 && slice.row == 0;
    }));
    _rows = int(slices.size()) / _slicesInRow;
    _rate.bandCount = std::min(_rows, ProResRateControl::mostBands);
    for (int band = 0; band < _rate.bandCount; ++band) {
        _bandBegin[size_t(band) + 1] = _rows * (band + 1) / _rate.bandCount;
        _longestBand = std::max(_longestBand, _bandBegin[size_t(band) + 1] - _bandBegin[size_t(band)]);
    }
    _quantisers.resize(slices.size());
    _sizes.resize(slices.size());
    _rowSizes.resize(size_t(_rows));
    _rowAlpha.resize(size_t(_rows));
    setHelpers(nullptr);
}

void ProResFrameCoder::setHelpers(QmxHelpers *helpers)
{
    _helpers = helpers;
    const size_t threads = helpers ? size_t(helpers->threads()) : 1;
    while (_coders.size() < threads)
        _coders.push_back(std::make_unique<ProResSliceCoder>(_format));
    const size_t slices = size_t(_longestBand) * size_t(_slicesInRow);
    // Not zeroed: only what the rows really take is ever touched.
    _rowMemory.reset(helpers ? new uchar[slices * ProResSliceCoder::largest] : nullptr);
}

ProResFrameCoder::~ProResFrameCoder() = default;

void ProResFrameCoder::setNominalSize(int bytes)
{
    const int bandCount = _rate.bandCount;
    _limit = limitOf(bytes, _layout);
    _rate = rateControl(bytes, _layout);
    _rate.bandCount = bandCount;
}

qsizetype ProResFrameCoder::capacity() const
{
    const qsizetype slices = qsizetype(_layout.slices().size());
    const qsizetype alpha = _format.alpha ? slices * ProResComponent::largestAlpha : 0;
    const qsizetype coded = _fixedQuantiser ? slices * ProResSliceCoder::largest : _limit;
    return coded + alpha + ProResSliceCoder::largest;
}

void ProResFrameCoder::prefetch(const ProResSlice &slice, const ProResSliceCoder &coder) const
{
    coder.prefetch(_pictures[size_t(slice.picture)], _layout.pictureHeight(slice.picture), slice);
}

/// Counts the coefficients of some slices, others in every frame.
void ProResFrameCoder::sample()
{
    const auto &slices = _layout.slices();
    const int period = std::clamp(int(slices.size()) / sampledSlices, 1, longestSamplePeriod);
    constexpr int rowStep = 3;
    const ProResSlice *waiting = nullptr;
    ProResRateControl::Band *bandOfWaiting = nullptr;
    const auto count = [this](const ProResSlice &slice, ProResRateControl::Band &band) {
        _coders.front()->count(_pictures[size_t(slice.picture)], _layout.pictureHeight(slice.picture), slice,
                               band.counts);
    };
    for (int b = 0; b < _rate.bandCount; ++b) {
        ProResRateControl::Band &band = _rate.bands[size_t(b)];
        band = ProResRateControl::Band();
        for (int row = _bandBegin[size_t(b)]; row < _bandBegin[size_t(b) + 1]; ++row)
            for (int column = 0; column < _slicesInRow; ++column) {
                const ProResSlice &slice = slices[slicesBefore(row) + size_t(column)];
                const double blocks = slice.macroblocks * (_format.kind->fullChroma ? 12 : 8);
                band.blocks += blocks;
                if ((column + rowStep * row + _frameNumber) % period) continue;
                band.sampledBlocks += blocks;
                prefetch(slice, *_coders.front());
                // One behind, so that its samples are there.
                if (waiting) count(*waiting, *bandOfWaiting);
                waiting = &slice;
                bandOfWaiting = &band;
            }
    }
    if (waiting) count(*waiting, *bandOfWaiting);
    ++_frameNumber;
}

/// A scale between two quantisers: both, in turns.
void ProResFrameCoder::chooseQuantisers(int firstRow, int lastRow, double scale)
{
    int quantiser = _fixedQuantiser;
    double part = 0;
    if (!quantiser) {
        quantiser = ProRes::quantiserOfScale(scale);
        const double below = ProRes::scaleOfQuantiser(quantiser);
        if (quantiser < ProRes::coarsestQuantiser)
            part = (scale - below) / (ProRes::scaleOfQuantiser(quantiser + 1) - below);
    }
    const bool dcOnly = !_fixedQuantiser && _rate.isExhausted();
    double sum = 0.5;
    for (size_t i = slicesBefore(firstRow); i < slicesBefore(lastRow); ++i) {
        sum += part;
        const bool coarser = sum >= 1;
        if (coarser) sum -= 1;
        _quantisers[i] = dcOnly ? ProResSliceCoder::dcOnly : quint8(quantiser + coarser);
    }
}

int ProResFrameCoder::codeRow(int row, uchar *out, const uchar *end, int thread)
{
    ProResSliceCoder &coder = *_coders[size_t(thread)];
    uchar *at = out;
    _rowAlpha[size_t(row)] = 0;
    for (size_t i = slicesBefore(row); i < slicesBefore(row + 1); ++i) {
        if (end - at < ProResSliceCoder::largest) return -1;
        const ProResSlice &slice = _layout.slices()[i];
        if (i + 1 < _layout.slices().size()) prefetch(_layout.slices()[i + 1], coder);
        const int size = coder.code(_pictures[size_t(slice.picture)], _layout.pictureHeight(slice.picture),
                                    slice, _quantisers[i], at);
        _sizes[i] = quint16(size);
        _rowAlpha[size_t(row)] += coder.alphaBytes();
        at += size;
    }
    return int(at - out);
}

/// Codes rows to `at`; where they end, null when there is no room for them.
uchar *ProResFrameCoder::codeBand(int firstRow, int lastRow, uchar *at)
{
    const uchar *end = _buffer.constData() + _buffer.size();
    if (!_helpers || !_helpers->anyIdle()) {
        for (int row = firstRow; row < lastRow; ++row) {
            const int size = codeRow(row, at, end, 0);
            if (size < 0) return nullptr;
            at += size;
        }
        return at;
    }
    struct Job
    {
        ProResFrameCoder *coder;
        int firstRow;
        qsizetype piece;
    } job{this, firstRow, qsizetype(_slicesInRow) * ProResSliceCoder::largest};
    _helpers->run(
        lastRow - firstRow,
        [](void *context, int index, int thread) {
            const Job &j = *static_cast<Job *>(context);
            uchar *memory = j.coder->_rowMemory.get() + index * j.piece;
            const int row = j.firstRow + index;
            j.coder->_rowSizes[size_t(row)] = j.coder->codeRow(row, memory, memory + j.piece, thread);
        },
        &job);
    for (int row = firstRow; row < lastRow; ++row) {
        const int size = _rowSizes[size_t(row)];
        if (end - at < size + ProResSliceCoder::largest) return nullptr;
        std::memcpy(at, _rowMemory.get() + (row - firstRow) * job.piece, size_t(size));
        at += size;
    }
    return at;
}

/// One attempt; false: it became too large and the next will be coarser.
bool ProResFrameCoder::codeFrame(int &size)
{
    uchar *at = _buffer.data() + ProResHeader::frameSize;
    const int rowsOfPicture[] = {_layout.slicesOfPicture(0) / _slicesInRow, _rows};
    int tables = 0;
    const auto leaveRoom = [&](int row) {
        // In front of the first row of a picture stand its header and the table of its slices.
        while (tables < _layout.pictures() && row == (tables == 0 ? 0 : rowsOfPicture[0]))
            at += ProResHeader::pictureSize + tableEntry * _layout.slicesOfPicture(tables++);
    };
    for (int band = 0; band < _rate.bandCount; ++band) {
        int row = _bandBegin[size_t(band)];
        const int end = _bandBegin[size_t(band) + 1];
        chooseQuantisers(row, end, _fixedQuantiser ? 1 : _rate.nextScale());
        int bytes = 0;
        while (row < end) {
            leaveRoom(row);
            // A band may begin in one field and end in the other.
            const int until = row < rowsOfPicture[0] ? std::min(end, rowsOfPicture[0]) : end;
            uchar *after = codeBand(row, until, at);
            if (!after) {
                _rate.overflow();
                return false;
            }
            bytes += int(after - at);
            for (; row < until; ++row)
                bytes -= _rowAlpha[size_t(row)];
            at = after;
        }
        _rate.bandDone(bytes);
    }
    size = int(at - _buffer.data());
    return _fixedQuantiser || _rate.frameDone();
}

void ProResFrameCoder::putTables(int size)
{
    ProResHeader::putFrame(_format, size, _buffer.data());
    uchar *at = _buffer.data() + ProResHeader::frameSize;
    size_t slice = 0;
    for (int picture = 0; picture < _layout.pictures(); ++picture) {
        const size_t end = slice + size_t(_layout.slicesOfPicture(picture));
        const int count = int(end - slice);
        uchar *entry = at + ProResHeader::pictureSize;
        int bytes = ProResHeader::pictureSize + tableEntry * count;
        for (; slice < end; ++slice, entry += tableEntry) {
            qToBigEndian(_sizes[slice], entry);
            bytes += _sizes[slice];
        }
        ProResHeader::putPicture(bytes, count, at);
        at += bytes;
    }
}

QmxBuffer ProResFrameCoder::encode(const ProResPlanes &frame)
{
    _buffer = QmxBuffer::allocate(capacity());
    if (!_buffer.isValid()) return {};
    for (int picture = 0; picture < _layout.pictures(); ++picture)
        _pictures[size_t(picture)] = _layout.pictureOf(frame, picture);
    if (!_fixedQuantiser) {
        sample();
        _rate.beginFrame();
    }
    int size = 0;
    while (!codeFrame(size)) {}
    putTables(size);
    QmxBuffer coded = std::exchange(_buffer, QmxBuffer());
    if (size < coded.capacity() / wastefulPart) return QmxBuffer::copyOf(coded.constData(), size);
    coded.resize(size);
    return coded;
}
