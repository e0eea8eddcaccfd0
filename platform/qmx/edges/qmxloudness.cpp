// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/edges/qmxloudness.h"

#include "platform/qmx/core/qmxaudio.h"
#include "platform/qmx/edges/qmxpreview.h"

#include <ebur128.h>

#include <algorithm>

struct QmxLoudness::Private
{
    ebur128_state *state = nullptr;
    int channels = 0;

    ~Private() { end(); }
    void end()
    {
        if (state) ebur128_destroy(&state);
        channels = 0;
    }
    double ask(int (*loudness)(ebur128_state *, double *)) const
    {
        double value = QmxPreviewPicture::quietest;
        if (!state || loudness(state, &value) != EBUR128_SUCCESS) return QmxPreviewPicture::quietest;
        return std::max(value, QmxPreviewPicture::quietest); // silence is minus infinity
    }
};

QmxLoudness::QmxLoudness() : d(std::make_unique<Private>()) {}

QmxLoudness::~QmxLoudness() = default;

void QmxLoudness::add(const QmxAudio &audio)
{
    if (!audio.isValid() || audio.samples() == 0 || !audio.data()) return d->end();
    const int channels = audio.desc().channels();
    if (channels != d->channels) {
        d->end();
        d->state = ebur128_init(unsigned(channels), qmxAudioRate, EBUR128_MODE_M | EBUR128_MODE_S);
        if (!d->state) return;
        d->channels = channels;
        // Channels are pairs of stereo here, never centre or surround.
        for (int i = 0; i < channels; ++i)
            ebur128_set_channel(d->state, unsigned(i), i % 2 == 0 ? EBUR128_LEFT : EBUR128_RIGHT);
    }
    ebur128_add_frames_int(d->state, audio.data(), size_t(audio.samples()));
}

double QmxLoudness::momentary() const
{
    return d->ask(ebur128_loudness_momentary);
}

double QmxLoudness::shortTerm() const
{
    return d->ask(ebur128_loudness_shortterm);
}
