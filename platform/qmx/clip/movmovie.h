// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/clip/movinput.h"
#include "platform/qmx/clip/movpcm.h"

#include <QString>

#include <vector>

/// What the moov atom of any QuickTime or MP4 file says, as far as it can be trusted to be well-formed:
/// counts fit their atoms, numbers are in range. Places in the file are not checked here.
struct MovMovie
{
    struct Time
    {
        quint32 count;
        quint32 delta;
    };
    struct Chunks
    {
        quint32 first; ///< from 1
        quint32 samples;
    };
    struct Edit
    {
        qint64 duration;  ///< in the movie's scale
        qint64 mediaTime; ///< -1: nothing
    };
    struct Track
    {
        quint32 id = 0;
        quint32 handler = 0; ///< 'vide', 'soun', 'tmcd'
        quint32 timeScale = 0;
        std::vector<quint32> timecodeTracks; ///< that it refers to
        std::vector<Edit> edits;

        int descriptions = 0;
        char fourcc[5] = "";
        int width = 0;
        int height = 0;
        bool interlaced = false;
        quint32 pixelWidth = 1;
        quint32 pixelHeight = 1;

        int channels = 0;
        int sampleRate = 0;
        bool isPcm = false;
        MovPcm::Form pcm;

        int timecodeFps = 0;
        bool dropFrame = false;
        QString reelName;

        std::vector<Time> times;
        bool reordered = false; ///< it has composition offsets
        std::vector<Chunks> chunkRuns;
        quint32 sampleSize = 0; ///< of all samples; 0: see `sizes`
        quint32 samples = 0;
        std::vector<quint32> sizes;
        std::vector<qint64> chunks;   ///< offsets in the file
        quint32 fragmentDuration = 0; ///< default duration of samples in fragments

        /// Duration of all samples when it is one and the same (the last one may differ), else 0.
        quint32 constantDelta() const;
    };

    quint32 timeScale = 0;
    quint64 created = 0;
    bool fragmented = false;
    std::vector<Track> tracks;

    /// Reads the moov atom whose header stands at `offset`. Without `tables` the sizes and chunks of samples
    /// are left out: enough for descriptions and length.
    static QmxError read(MovInput &input, qint64 offset, bool tables, MovMovie &movie);
    /// Finds the moov atom among the outermost ones.
    static QmxError find(MovInput &input, qint64 &offset);

    const Track *firstTrack(quint32 handler) const;
    const Track *track(quint32 id) const;
};
