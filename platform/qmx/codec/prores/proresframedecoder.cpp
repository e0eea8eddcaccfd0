// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/codec/prores/proresframedecoder.h"

#include <algorithm>
#include <atomic>

namespace {
/// Slices that a helper takes at once: at least about a quarter of a row of a high-definition frame.
constexpr int leastAtOnce = 4;
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

int ProResFrameDecoder::decodeSlices(size_t first, size_t count, ProResSliceDecoder &decoder) const
{
    const auto slices =
        std::span(_frame.slices).subspan(first, std::min(count, _frame.slices.size() - first));
    size_t together = 0;
    const auto group = [&](size_t i) {
        const auto rest = slices.subspan(std::min(i, slices.size()));
        return rest.first(std::min(together, rest.size()));
    };
    int damaged = 0;
    for (size_t i = 0; i < slices.size(); i += together) {
        together = size_t(decoder.slicesTogether());
        ProResSliceDecoder::askForHeaders(group(i + 2 * together));
        ProResSliceDecoder::askForData(group(i + together));
        damaged += decoder.decode(group(i));
    }
    return damaged;
}

int ProResFrameDecoder::decode(const ProResTarget &target, ProResInverse::Scale scale)
{
    const size_t slices = _frame.slices.size();
    if (!_helpers || !_helpers->anyIdle()) {
        _decoders.front()->begin(_frame, scale, target);
        return decodeSlices(0, slices, *_decoders.front());
    }
    for (auto &decoder : _decoders)
        decoder->begin(_frame, scale, target);
    struct Job
    {
        ProResFrameDecoder *decoder;
        size_t atOnce;
        std::atomic<int> damaged{0};
    } job{this, size_t(std::max(leastAtOnce, _decoders.front()->slicesTogether()))};
    _helpers->run(
        int((slices + job.atOnce - 1) / job.atOnce),
        [](void *context, int index, int thread) {
            Job &j = *static_cast<Job *>(context);
            j.damaged += j.decoder->decodeSlices(size_t(index) * j.atOnce, j.atOnce,
                                                 *j.decoder->_decoders[size_t(thread)]);
        },
        &job);
    return job.damaged;
}
