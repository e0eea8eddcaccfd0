// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxaudio.h"

#include <vector>

/// Sound between a decoder, which delivers it in pieces of any length, and frames, each of which takes an
/// exact number of samples. Sixteen channels. A value, not thread-safe.
class QmxSourceAudio
{
public:
    /// Appends interleaved samples of `channels` channels; channels beyond sixteen are left out, missing
    /// ones are silent.
    void append(const qint32 *samples, int count, int channels);
    void append(const QmxAudio &audio);
    void appendSilence(int count);
    /// The oldest samples; silence where there are not enough. `rate` goes into the description.
    QmxAudio take(int count, const QmxVideoRate &rate);
    void drop(int count);
    void clear();
    int count() const { return int((_samples.size() - _first) / channels); }

private:
    static constexpr size_t channels = 16;
    void compact();

    std::vector<qint32> _samples;
    size_t _first = 0; ///< what lies before it has been taken
};
