// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/clip/movplaces.h"

#include <functional>

namespace {

constexpr qint64 maxOffset = qint64(1) << 62; // sums of sizes cannot overflow from there
constexpr quint32 maxFrames = 1 << 24;        // three days at 60 frames a second

/// Calls `visit(offset, samples)` for every chunk; false when it has had enough or the tables are wrong.
bool visitChunks(const MovMovie::Track &track, const std::function<bool(qint64, quint32)> &visit)
{
    if (track.chunks.empty()) return true;
    if (track.chunkRuns.empty() || track.chunkRuns.front().first != 1) return false;
    size_t run = 0;
    for (size_t chunk = 0; chunk < track.chunks.size(); ++chunk) {
        while (run + 1 < track.chunkRuns.size() && track.chunkRuns[run + 1].first <= chunk + 1)
            ++run;
        if (track.chunks[chunk] < 0 || track.chunks[chunk] > maxOffset ||
            !visit(track.chunks[chunk], track.chunkRuns[run].samples))
            return false;
    }
    return true;
}

} // namespace

QmxError movPlaceFrames(MovInput &input, const MovMovie::Track &track,
                        std::vector<QmxClipIndex::Frame> &frames)
{
    // With one size for all the count is only a number in the file: it must fit in it.
    const qint64 least = std::max<qint64>(track.sampleSize, 1);
    if (track.samples > maxFrames || (track.sampleSize != 0 && qint64(track.samples) > input.size() / least))
        return input.damaged("it describes more frames than it can hold");
    // A track that names its kind behind its sizes has been read without them.
    if (track.sampleSize == 0 && track.sizes.size() != track.samples)
        return input.damaged("the sizes of its frames are missing");
    frames.clear();
    frames.reserve(track.samples);
    const bool whole = visitChunks(track, [&](qint64 offset, quint32 samples) {
        for (quint32 i = 0; i < samples && frames.size() < track.samples; ++i) {
            const quint32 size = track.sampleSize ? track.sampleSize : track.sizes[frames.size()];
            const bool inside = offset <= input.size() - qint64(size);
            frames.push_back({offset, inside ? size : 0});
            offset += size;
        }
        return true;
    });
    if (!whole || frames.size() != track.samples) return input.damaged("its tables contradict each other");
    return {};
}

QmxError movPlaceSound(MovInput &input, const MovMovie::Track &track, QmxClipIndex::Sound &sound)
{
    qint64 first = 0;
    const qint64 frameBytes = sound.frameBytes();
    // A sample of several moments has a size of its own.
    size_t block = 0;
    const bool inBlocks = track.sampleSize == 0 && !track.sizes.empty();
    const bool whole = visitChunks(track, [&](qint64 offset, quint32 count) {
        qint64 samples = count;
        if (inBlocks) {
            qint64 bytes = 0;
            for (; count > 0 && block < track.sizes.size(); --count)
                bytes += track.sizes[block++];
            samples = bytes / frameBytes;
        }
        // What a file cut short has lost becomes silence.
        const qint64 room = std::max<qint64>(0, (input.size() - offset) / frameBytes);
        sound.chunks.push_back({first, offset, std::min(samples, room)});
        first += samples;
        return true;
    });
    return whole ? QmxError() : input.damaged("the tables of its sound contradict each other");
}
