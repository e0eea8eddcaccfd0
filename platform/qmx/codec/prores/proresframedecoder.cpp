// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/codec/prores/proresframedecoder.h"

#include <algorithm>
#include <atomic>

namespace {
/// Pairs of slices that a helper takes at once: about a quarter of a row of a high-definition frame.
constexpr int pairsAtOnce = 2;
} // namespace

ProResFrameDecoder::ProResFrameDecoder()
{
    setHelpers(nullptr);
}

ProResFrameDecoder::~ProResFrameDecoder() = default;

void ProResFrameDecoder::setHelpers(QmxHelpers *helpers)
{
    _helpers = helpers;
    const size_t threads = helpers ? size_t(helpers->threads()) : 1;
    while (_decoders.size() < threads)
        _decoders.push_back(std::make_unique<ProResSliceDecoder>());
}

int ProResFrameDecoder::decodePairs(int first, int count, ProResSliceDecoder &decoder) const
{
    const auto &slices = _frame.slices;
    const size_t end = std::min(slices.size(), 2 * size_t(first + count));
    int damaged = 0;
    for (size_t i = 2 * size_t(first); i < end; i += 2)
        damaged += decoder.decode(slices[i], i + 1 < end ? &slices[i + 1] : nullptr);
    return damaged;
}

int ProResFrameDecoder::decode(const ProResTarget &target, ProResInverse::Scale scale)
{
    const int pairs = int((_frame.slices.size() + 1) / 2);
    if (!_helpers || !_helpers->anyIdle()) {
        _decoders.front()->begin(_frame, scale, target);
        return decodePairs(0, pairs, *_decoders.front());
    }
    for (auto &decoder : _decoders)
        decoder->begin(_frame, scale, target);
    struct Job
    {
        ProResFrameDecoder *decoder;
        int pairs;
        std::atomic<int> damaged{0};
    } job{this, pairs};
    _helpers->run((pairs + pairsAtOnce - 1) / pairsAtOnce,
                  [](void *context, int index, int thread) {
                      Job &j = *static_cast<Job *>(context);
                      const int first = index * pairsAtOnce;
                      j.damaged += j.decoder->decodePairs(first, std::min(pairsAtOnce, j.pairs - first),
                                                          *j.decoder->_decoders[size_t(thread)]);
                  },
                  &job);
    return job.damaged;
}
