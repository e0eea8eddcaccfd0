// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/codec/prores/proreskernels.h"

#include <array>

/// Holds the size of frames without trying: a model says how many bits the counted coefficients of a picture
/// take at a quantiser, and what has been coded corrects the model, within a frame from band to band and from
/// frame to frame. One stream; one thread at a time.
///
/// A frame aims at `target`, corrected by what the frames before took too much; pictures that need less even
/// at the finest quantiser stay below, and what they leave is not spent later. A frame that comes out above
/// `limit` is coded again, coarser, which takes a picture unlike anything the model knows.
class ProResRateControl
{
public:
    static constexpr int mostBands = 8;

    /// What is to be coded of a frame between two corrections.
    struct Band
    {
        ProResKernels::Counts counts{}; ///< of the sampled slices
        double blocks = 0;              ///< all that the band has
        double sampledBlocks = 0;
    };

    /// Bytes of the slices of a frame, without headers.
    ProResRateControl(double target, double limit) : _target(target), _limit(limit) {}

    std::array<Band, mostBands> bands;
    int bandCount = 1;

    /// Begins a frame, whose bands have been filled in.
    void beginFrame();
    /// Scale for the band that comes next: 1 to ProRes::coarsestScale, not whole.
    double nextScale();
    /// What the band took.
    void bandDone(int bytes);
    /// False: the frame has to be coded again, from the first band; otherwise its size is booked.
    bool frameDone();
    /// The frame did not even fit its memory: as frameDone() that gives false.
    void overflow();
    /// Even the coarsest quantiser was too fine: only the DC coefficients of this frame can be coded.
    bool isExhausted() const { return _exhausted; }

    /// The model: bits of a band at a scale.
    static double modelBits(const Band &band, double scale);

private:
    double remainingBits(double scale) const;
    void restart();

    double _target;
    double _limit;
    double _excess = 0;     ///< bytes that the frames before took too much
    double _correction = 1; ///< real size to the model's, of this frame so far
    double _learned = 1;    ///< the same, of the frames before
    double _frameTarget = 0;
    double _used = 0;
    double _predicted = 0; ///< for what is used, by the bare model
    double _bandPrediction = 0;
    double _leastScale = 1;
    double _frameScale = 1; ///< of the first band
    int _next = 0;
    bool _exhausted = false;
};
