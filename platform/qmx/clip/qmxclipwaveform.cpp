// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/clip/qmxclipwaveform.h"

#include "platform/qmx/clip/movclaims.h"
#include "platform/qmx/clip/movsound.h"
#include "platform/qmx/clip/qmxforeignclip.h"

#include <algorithm>
#include <cerrno>
#include <cmath>

namespace {
/// What is read of a clip at most, as samples of all channels.
constexpr qint64 mostSamples = qint64(16) << 20;

/// The sound of a clip, without its pictures.
class Sounds
{
public:
    explicit Sounds(const QmxEnvironment &environment) : _input(environment), _foreign(environment) {}

    QmxError open(const QString &clip)
    {
        QmxError error = _input.open(clip);
        if (!error.isError()) error = _index.load(_input, true);
        if (error.value() != ENOTSUP) return error;
        _isForeign = true;
        error = movCheckClaims(_input);
        return error.isError() ? error : _foreign.open(clip);
    }
    const QmxClipInfo &info() const { return _isForeign ? _foreign.info() : _index.info; }
    QmxError read(qint64 frame, QmxAudio &audio)
    {
        return _isForeign ? _foreign.readAudio(frame, audio) : movReadSound(_input, _index, frame, audio);
    }

private:
    MovInput _input;
    QmxClipIndex _index;
    QmxForeignClip _foreign;
    bool _isForeign = false;
};

float peakOf(const QmxAudio &audio)
{
    if (!audio.isValid()) return 0;
    constexpr double full = 2147483648.0;
    const qint32 *const begin = audio.data();
    const auto [least, most] =
        std::minmax_element(begin, begin + qint64(audio.samples()) * audio.desc().channels());
    return float(std::max(std::abs(double(*least)), std::abs(double(*most))) / full);
}
} // namespace

QmxError QmxClipWaveform::make(const QString &clip, qint64 first, qint64 end, int count,
                               const QmxEnvironment &environment, Peaks &peaks)
{
    Sounds sounds(environment);
    if (QmxError error = sounds.open(clip); error.isError()) return error;
    const QmxClipInfo info = sounds.info();
    peaks = {std::max<qint64>(first, 0), std::min(end, info.frames), {}};
    const qint64 frames = peaks.end - peaks.first;
    if (frames <= 0) return {EINVAL, QStringLiteral("%1 has no frames there").arg(clip)};
    if (!info.audio.isValid()) return {};
    const qint64 columns = std::clamp<qint64>(count, 1, std::min<qint64>(mostColumns, frames));
    const qint64 ofFrame = qint64(qmxAudioSamples(0, info.image.frameRate())) * info.audio.channels();
    const qint64 looks = std::max<qint64>(1, mostSamples / std::max<qint64>(ofFrame * columns, 1));
    for (qint64 column = 0; column < columns; ++column) {
        const qint64 from = peaks.first + column * frames / columns;
        const qint64 width = peaks.first + (column + 1) * frames / columns - from;
        float peak = 0;
        for (qint64 look = 0; look < std::min(looks, width); ++look) {
            QmxAudio audio;
            const qint64 frame = from + look * width / std::min(looks, width);
            // What is damaged is shown as silence: it is one column of many.
            if (!sounds.read(frame, audio).isError()) peak = std::max(peak, peakOf(audio));
        }
        peaks.columns.append(peak);
    }
    return {};
}
