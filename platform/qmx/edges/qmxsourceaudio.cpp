// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/edges/qmxsourceaudio.h"

#include "platform/qmx/edges/qmxsourceformat.h"

#include <algorithm>
#include <cstring>

static_assert(QmxSourceFormat::audioChannels == 16);

void QmxSourceAudio::append(const qint32 *samples, int count, int from)
{
    compact();
    const size_t old = _samples.size();
    _samples.resize(old + size_t(count) * channels, 0);
    const size_t used = std::min(size_t(from), channels);
    for (int i = 0; i < count; ++i)
        std::copy_n(samples + size_t(i) * size_t(from), used, _samples.data() + old + size_t(i) * channels);
}

void QmxSourceAudio::append(const QmxAudio &audio)
{
    if (audio.isValid()) append(audio.data(), audio.samples(), audio.desc().channels());
}

void QmxSourceAudio::appendSilence(int count)
{
    compact();
    _samples.resize(_samples.size() + size_t(std::max(count, 0)) * channels, 0);
}

QmxAudio QmxSourceAudio::take(int wanted, const QmxVideoRate &rate)
{
    QmxAudio audio = QmxAudio::silence(QmxSourceFormat::audioDesc(rate), wanted);
    const int given = std::min(wanted, count());
    if (audio.isValid() && given > 0)
        std::memcpy(audio.buffer().data(), _samples.data() + _first,
                    size_t(given) * channels * sizeof(qint32));
    drop(given);
    return audio;
}

void QmxSourceAudio::drop(int dropped)
{
    _first += size_t(std::clamp(dropped, 0, count())) * channels;
}

void QmxSourceAudio::clear()
{
    _samples.clear();
    _first = 0;
}

void QmxSourceAudio::compact()
{
    // Moving what is left is only worth it when it is the smaller part.
    if (_first * 2 < _samples.size()) return;
    _samples.erase(_samples.begin(), _samples.begin() + qsizetype(_first));
    _first = 0;
}
