// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/codec/prores/proresratecontrol.h"

#include <algorithm>
#include <cmath>

namespace {
constexpr double bitsPerByte = 8;
constexpr double acPerBlock = ProRes::blockSamples - 1;

/// How many coefficients reach a size, between the counted sizes on a straight line of logarithms.
double reaching(const ProResKernels::Counts &counts, double size)
{
    const double place = std::clamp(std::log2(size / ProResKernels::firstThreshold), 0.0,
                                    double(ProResKernels::thresholds - 1));
    const size_t below = std::min(size_t(place), size_t(ProResKernels::thresholds - 2));
    const double a = std::log2(counts[below] + 0.25);
    const double b = std::log2(counts[below + 1] + 0.25);
    return std::exp2(a + (b - a) * (place - double(below)));
}
} // namespace

double ProResRateControl::modelBits(const Band &band, double scale)
{
    if (band.sampledBlocks <= 0) return 0;
    const double step = ProResKernels::fraction * scale;
    const double all = acPerBlock * band.sampledBlocks;
    const double present = reaching(band.counts, step * ProResKernels::Quantiser::leastShare);
    double large = 0;
    for (double size = (2 - ProResKernels::Quantiser::offsetShare) * step; size < 65536; size *= 2)
        large += reaching(band.counts, size);
    const double dc = 4 * band.sampledBlocks;
    const double bits = dc + present * (2.2 + std::log2(all / present)) + 1.9 * large;
    return bits * band.blocks / band.sampledBlocks;
}

double ProResRateControl::remainingBits(double scale) const
{
    double bits = 0;
    for (int i = _next; i < bandCount; ++i)
        bits += modelBits(bands[size_t(i)], scale);
    return bits;
}

void ProResRateControl::restart()
{
    _used = 0;
    _predicted = 0;
    _next = 0;
    _correction = _learned;
}

void ProResRateControl::beginFrame()
{
    // What went wrong is made good over some frames, a little in each.
    constexpr double frames = 12;
    constexpr double most = 0.02;
    _frameTarget = _target - std::clamp(_excess / frames, -most * _target, most * _target);
    _leastScale = 1;
    _exhausted = false;
    restart();
}

double ProResRateControl::nextScale()
{
    // Within a frame the quantiser moves little: quality shall be even.
    constexpr double swing = 1.5;
    const double budget = std::max(0.0, _frameTarget - _used) * bitsPerByte / _correction;
    double low = _leastScale, high = ProRes::coarsestScale;
    if (_next > 0) {
        low = std::max(low, _frameScale / swing);
        high = std::max(low, std::min(high, _frameScale * swing));
    }
    constexpr int steps = 14;
    for (int i = 0; i < steps; ++i) {
        const double middle = std::sqrt(low * high);
        (remainingBits(middle) > budget ? low : high) = middle;
    }
    // The finest one is reached exactly.
    const double scale = low == _leastScale ? low : high;
    if (_next == 0) _frameScale = scale;
    _bandPrediction = modelBits(bands[size_t(_next)], scale) / bitsPerByte;
    return scale;
}

void ProResRateControl::bandDone(int bytes)
{
    _used += bytes;
    _predicted += _bandPrediction;
    ++_next;
    // What the model says weighs as much as a band until there are more of them.
    if (_predicted > 0) {
        const double weight = _predicted / _next;
        _correction = (_used + _learned * weight) / (_predicted + weight);
    }
}

bool ProResRateControl::frameDone()
{
    if (_used > _limit && !_exhausted) {
        overflow();
        return false;
    }
    if (_predicted > 0) {
        constexpr double memory = 0.5;
        constexpr double most = 3;
        _learned = std::clamp(_learned + (_used / _predicted - _learned) * memory, 1 / most, most);
    }
    // What a simple picture leaves is not spent later.
    constexpr double mostLeft = 0.02;
    _excess = std::max(_excess + _used - _target, -mostLeft * _target);
    return true;
}

void ProResRateControl::overflow()
{
    constexpr double coarser = 1.25;
    _exhausted = _leastScale >= ProRes::coarsestScale;
    _leastScale = std::min<double>(ProRes::coarsestScale, std::max(_leastScale, _frameScale) * coarser + 1);
    restart();
}
