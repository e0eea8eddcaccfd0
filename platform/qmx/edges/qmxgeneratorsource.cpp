// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/edges/qmxgeneratorsource.h"

#include "platform/qmx/core/qmxids.h"
#include "platform/qmx/edges/qmxsourceformat.h"
#include "platform/qmx/edges/qmxstrip.h"

#include <cmath>

namespace {

/// Whole periods of both tones: 25 of 1 kHz, 11 of 440 Hz.
constexpr int tonePeriod = 1200;
/// -18 dB of full scale, the usual line-up level.
const double toneLevel = std::pow(10.0, -18.0 / 20);
constexpr qint32 significantBits = ~0xff; ///< 24 of 32

std::vector<qint32> makeTone(const QmxId &tone)
{
    if (!tone.isValid()) return {};
    const double frequency = tone == QmxIds::tone440 ? 440 : 1000;
    std::vector<qint32> samples(tonePeriod);
    for (int i = 0; i < tonePeriod; ++i)
        samples[size_t(i)] =
            qint32(std::sin(2 * M_PI * frequency * i / qmxAudioRate) * toneLevel * 0x7fffffff) &
            significantBits;
    return samples;
}
} // namespace

qint64 QmxGeneratorPosition::frameAt(const QmxTick &tick, const QmxVideoRate &rate)
{
    if (!_started) {
        _started = true;
        _anchorTime = _lastTime = tick.deadline;
        return _frame;
    }
    const double framesPerNs = rate.toDouble() / double(QmxClock::nsPerSecond);
    if (tick.rate == rate) {
        _frame += std::max<qint64>(std::llround(double(tick.deadline - _lastTime) * framesPerNs), 0);
        _anchorFrame = _frame;
        _anchorTime = tick.deadline;
    } else {
        // Deadlines are rounded to nanoseconds: a frame that is due now must not come a tick late for it.
        constexpr double rounding = 1e-6;
        const double passed = double(tick.deadline - _anchorTime) * framesPerNs;
        _frame = std::max(_frame, _anchorFrame + qint64(std::floor(passed + rounding)));
    }
    _lastTime = tick.deadline;
    return _frame;
}

void QmxGeneratorPosition::restartAt(qint64 frame)
{
    _frame = _anchorFrame = frame;
    _anchorTime = _lastTime;
}

QmxGeneratorSource::QmxGeneratorSource(const QmxGeneratorScript &script, const QString &name)
    : _script(script), _name(name), _tone(makeTone(script.tone))
{
    for (const QmxGeneratorScript::Format &format : _script.formats) {
        _pictures.emplace_back(format.desc, script.pattern);
        _states.push_back(QmxSourceFormat::state(format.desc));
        _states.back().setVfrfps(_script.variableRate);
    }
}

QmxSourceFrame QmxGeneratorSource::take(const QmxTick &tick)
{
    const int formatBefore = _script.formatIndex(_position.frame());
    qint64 frame = _position.frameAt(tick, _script.formats[formatBefore].desc.frameRate());
    const int format = _script.formatIndex(frame);
    if (format != formatBefore) {
        // From here on frames last longer or shorter: the new format begins with its first frame.
        frame = _script.formats[format].frame;
        _position.restartAt(frame);
    }
    const bool newFrame = frame != _lastFrame;
    const bool present = !QmxGeneratorScript::covers(_script.losses, frame);
    QmxSourceFrame result;
    if (present) {
        result.state = _states[size_t(format)];
        const QmxVideoRate ownRate = _script.formats[format].desc.frameRate();
        const qint64 count = _script.countsMachine ? ownRate.framesIn(tick.deadline) : frame;
        if (newFrame) _lastPicture = _pictures[size_t(format)].render(count);
        result.picture = _lastPicture;
        result.timecode = _script.timecode(frame, _script.formats[format].desc.frameRate());
        result.metadata = metadata(frame);
        if (QmxGeneratorScript::covers(_script.unstable, frame)) {
            result.state.setRecInhibit(QmxIds::invalidInput);
            result.picture = QmxPicture();
        }
    }
    if (!_script.reference.isEmpty()) {
        const bool locked = QmxGeneratorScript::position(_script.reference, frame).value_or(true);
        result.reference = QmxVideoRefState(locked, locked);
    }
    result.soundMissing = present && QmxGeneratorScript::covers(_script.mutes, frame);
    result.audio = sound(tick, present && !result.soundMissing, newFrame);
    _lastFrame = frame;
    return result;
}

QmxAudio QmxGeneratorSource::sound(const QmxTick &tick, bool present, bool newFrame)
{
    const int samples = qmxAudioSamples(tick.index, tick.rate);
    QmxAudio audio = QmxAudio::silence(QmxSourceFormat::audioDesc(tick.rate), samples);
    if (!audio.isValid() || _tone.empty() || !present) return audio;
    auto *out = reinterpret_cast<qint32 *>(audio.buffer().data());
    for (int i = 0; i < samples; ++i, out += QmxSourceFormat::audioChannels)
        std::fill_n(out, _script.channels, _tone[size_t((_sample + i) % tonePeriod)]);
    _sample += samples;
    if (newFrame && _position.frame() % QmxStrip::markInterval == 0)
        QmxStrip::drawMark(audio, _script.channels);
    return audio;
}

QmxMetadataHash QmxGeneratorSource::metadata(qint64 frame) const
{
    QmxMetadataHash result;
    if (!_script.camera.isEmpty())
        result.insert(QmxIds::cameraRecord,
                      QmxGeneratorScript::position(_script.camera, frame).value_or(false));
    if (_script.effectiveRate > 0) result.insert(QmxIds::effectiveFrameRate, _script.effectiveRate);
    if (!_script.clipName.isEmpty()) result.insert(QmxIds::recordName, _script.clipName);
    return result;
}

QString QmxGeneratorSource::statusText() const
{
    const QmxImageDesc desc = _script.formats[_script.formatIndex(_position.frame())].desc;
    return QStringLiteral("%1: %2, frame %3").arg(_name, desc.toString()).arg(_position.frame());
}
