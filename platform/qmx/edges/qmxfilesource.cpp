// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/edges/qmxfilesource.h"

#include "platform/qmx/core/qmxloglevel.h"
#include "platform/qmx/core/qmxthreadname.h"
#include "platform/qmx/edges/qmxsourceformat.h"

#include <algorithm>
#include <limits>

namespace {
constexpr size_t queueBound = 8;
/// Files that store sound far behind its pictures play silent rather than needing all memory.
constexpr size_t waitingBound = 32;
/// Samples; files whose sound begins farther away are taken for broken.
constexpr qint64 longestOffset = 5 * qmxAudioRate;
constexpr qint64 unknown = std::numeric_limits<qint64>::min();
} // namespace

QmxFileSource::QmxFileSource(const QString &path, bool loop, const QmxEnvironment &environment)
    : _path(path), _loop(loop), _clock(environment.clock), _busy(environment.clock->busy())
{
    const QmxError error = environment.threads->start(
        QStringLiteral("qmx-file-source"), [this] { run(); }, _thread);
    if (error.isError())
        finish(QStringLiteral("Input file %1 has no signal: %2").arg(_path, error.toString()));
}

QmxFileSource::~QmxFileSource()
{
    {
        const std::lock_guard lock(_mutex);
        _stopping = true;
    }
    _room.notify_all();
    if (_thread.joinable()) _thread.join();
}

void QmxFileSource::run()
{
    while (playOnce() && _loop) {}
}

bool QmxFileSource::playOnce()
{
    // The address form keeps libavformat from taking a part of the name for a protocol.
    _decoder =
        std::make_unique<QmxSourceDecoder>(QStringLiteral("file:") + _path, QmxSourceDecoder::Latency::Ahead,
                                           [this] { return _stopping.load(); });
    const QmxError error = _decoder->open();
    if (error.isError()) {
        finish(QStringLiteral("Input file %1 has no signal: %2").arg(_path, error.toString()));
        return false;
    }
    _waiting.clear();
    _decodedSound.clear();
    _firstPicture = _firstSound = unknown;
    _soundAligned = false;
    _decoded = 0;
    for (;;) {
        if (_stopping) return false;
        switch (_decoder->step()) {
        case QmxSourceDecoder::Step::Video:
            if (_decoded == 0) _firstPicture = _decoder->videoTime();
            _waiting.push_back(
                Item{_decoder->desc(), _decoder->picture(), _decoder->timecode(), QmxAudio(), _decoded++});
            break;
        case QmxSourceDecoder::Step::Audio: {
            const auto count = int(_decoder->audio().size()) / _decoder->audioChannels();
            if (_firstSound == unknown) _firstSound = _decoder->audioTime();
            _decodedSound.append(_decoder->audio().data(), count, _decoder->audioChannels());
            break;
        }
        case QmxSourceDecoder::Step::Failed:
            finish(QStringLiteral("Input file %1 ends early: %2").arg(_path, _decoder->error().toString()));
            return false;
        case QmxSourceDecoder::Step::End:
            if (emitReady(true) && _decoded > 0) {
                if (!_loop) finish(QString());
                return true;
            }
            finish(QStringLiteral("Input file %1 has no picture that can be decoded").arg(_path));
            return false;
        case QmxSourceDecoder::Step::Nothing:
        case QmxSourceDecoder::Step::Changed:
            break;
        }
        alignSound();
        if (!emitReady(!_decoder->hasAudio())) return false;
    }
}

/// Makes the sound begin with the first picture, once both have come, in whichever order.
void QmxFileSource::alignSound()
{
    if (_soundAligned || _firstPicture == unknown || _firstSound == unknown) return;
    _soundAligned = true;
    const qint64 offset = (_firstSound - _firstPicture) * qmxAudioRate / QmxClock::nsPerSecond;
    const int samples = int(std::clamp<qint64>(offset, -longestOffset, longestOffset));
    if (samples < 0) {
        _decodedSound.drop(-samples);
    } else if (samples > 0) {
        const QmxAudio early = _decodedSound.take(_decodedSound.count(), QmxVideoRate(25));
        _decodedSound.appendSilence(samples);
        _decodedSound.append(early);
    }
}

/// Hands over the pictures whose sound is there; false when the source is being closed.
bool QmxFileSource::emitReady(bool soundEnded)
{
    while (!_waiting.empty()) {
        Item &item = _waiting.front();
        const QmxVideoRate rate = item.desc.frameRate();
        const int samples = qmxAudioSamples(item.number, rate);
        if (!soundEnded && _decodedSound.count() < samples && _waiting.size() < waitingBound) return true;
        item.audio = _decodedSound.take(samples, rate);
        if (!push(item)) return false;
        _waiting.pop_front();
    }
    return true;
}

bool QmxFileSource::push(const Item &item)
{
    std::unique_lock lock(_mutex);
    while (_queue.size() >= queueBound && !_stopping) {
        _busy.reset();
        _room.wait(lock);
    }
    _queue.push_back(item);
    return !_stopping;
}

void QmxFileSource::finish(const QString &problem)
{
    if (!problem.isEmpty() && !_stopping)
        qmxLogText(QmxLogLevel::Warning, "qmxfilesource", __LINE__, problem);
    const std::lock_guard lock(_mutex);
    _ended = true;
    _problem = problem;
    _busy.reset();
}

QmxSourceFrame QmxFileSource::take(const QmxTick &tick)
{
    Item item;
    bool taken = false, ended = false;
    {
        const std::lock_guard lock(_mutex);
        taken = !_queue.empty();
        ended = _ended;
        if (taken) {
            item = _queue.front();
            _queue.pop_front();
            if (!_ended && !_busy) _busy = _clock->busy();
        }
    }
    if (taken) {
        _room.notify_one();
        ++_shown;
        _last.state = QmxSourceFormat::state(item.desc);
        _last.picture = item.picture;
        _last.timecode = item.timecode;
        _sound.append(item.audio);
    } else if (ended) {
        const qint64 repeated = _last.repeated;
        _last = QmxSourceFrame();
        _last.repeated = repeated;
    } else if (_last.picture.isValid()) {
        ++_last.repeated;
    }
    QmxSourceFrame frame = _last;
    const int samples = qmxAudioSamples(tick.index, tick.rate);
    frame.audio = _sound.take(samples, tick.rate);
    // At other rates than the file's the sound does not fit the ticks; it must not pile up. (A sample or
    // two may wait: the tick's place in the cadence is not the file's.)
    if (_sound.count() > samples) _sound.clear();
    return frame;
}

QString QmxFileSource::problem() const
{
    const std::lock_guard lock(_mutex);
    return _problem;
}

QString QmxFileSource::statusText() const
{
    const std::lock_guard lock(_mutex);
    if (!_problem.isEmpty()) return _problem;
    return QStringLiteral("File %1%2, %3 frames shown%4")
        .arg(_path, _loop ? QStringLiteral(" (looped)") : QString())
        .arg(_shown.load())
        .arg(_ended && _queue.empty() ? QStringLiteral(", ended") : QString());
}
