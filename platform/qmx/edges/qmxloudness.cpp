// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/edges/qmxloudness.h"

#include "platform/qmx/core/qmxaudio.h"
#include "platform/qmx/edges/qmxpreview.h"

#include <ebur128.h>

#include <algorithm>

namespace {
/// A live meter is to be told ten times a second (EBU Tech 3341). To tell it goes over three seconds of
/// sound: with every frame that was a tenth of what a take costs.
constexpr int updateSamples = qmxAudioRate / 10;
} // namespace

struct QmxLoudness::Private
{
    ebur128_state *state = nullptr;
    int channels = 0;
    int sinceAsked = 0; ///< samples
    double momentary = QmxPreviewPicture::quietest;
    double shortTerm = QmxPreviewPicture::quietest;

    ~Private() { end(); }
    void end()
    {
        if (state) ebur128_destroy(&state);
        channels = 0;
        sinceAsked = 0;
        momentary = shortTerm = QmxPreviewPicture::quietest;
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
    d->sinceAsked += audio.samples();
    if (d->sinceAsked < updateSamples) return;
    d->sinceAsked = 0;
    d->momentary = d->ask(ebur128_loudness_momentary);
    d->shortTerm = d->ask(ebur128_loudness_shortterm);
}

double QmxLoudness::momentary() const
{
    return d->momentary;
}

double QmxLoudness::shortTerm() const
{
    return d->shortTerm;
}
