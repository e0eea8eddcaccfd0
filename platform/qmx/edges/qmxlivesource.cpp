// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/edges/qmxlivesource.h"

#include "platform/qmx/core/qmxdeck.h"
#include "platform/qmx/core/qmxloglevel.h"
#include "platform/qmx/edges/qmxsourceformat.h"

#include <QRegularExpression>

#include <algorithm>
#include <cmath>

namespace {
constexpr size_t queueBound = 64;
constexpr qint64 queueBytes = qint64(256) << 20; ///< and no more than that, but for the shortest queue
constexpr qint64 shortest = 12;                  ///< what a burst may need
constexpr qint64 bytesPerPixel = 4;              ///< ten bits in two bytes, two samples
constexpr int restartDepth = 2;                  ///< frames that must wait again after the buffer ran empty
constexpr double slackDepth = 2;                 ///< the smoothed depth may exceed the target by this
constexpr int burstDepth = 8;                    ///< more than this above the target is dropped at once
constexpr double depthSmoothing = 1 / 64.0;

constexpr qint64 deadAfter = QmxClock::nsPerSecond; ///< without packets: connect anew
/// A picture's time that is not that of our clock is none of the last second.
constexpr qint64 oldestPicture = QmxClock::nsPerSecond;
/// The sender's clock may fall behind ours by this share of what a picture is late.
constexpr qint64 slowestDrift = 256;
constexpr qint64 firstPause = QmxClock::nsPerSecond / 2;
constexpr qint64 longestPause = 5 * QmxClock::nsPerSecond;

constexpr qint64 soundJump = 60 * QmxClock::nsPerMillisecond; ///< beyond this the sound is cut to fit
constexpr int soundBound = 2 * qmxAudioRate;
/// Sound that stays away for so long, while pictures come, is missing.
constexpr qint64 soundLossTime = QmxClock::nsPerSecond;
constexpr double soundSmoothing = 1 / 50.0;
constexpr int largestStretch = 96; ///< samples a second: 0.2 %

qint64 samplesToNs(qint64 samples)
{
    return samples * QmxClock::nsPerSecond / qmxAudioRate;
}
/// Passwords and pass phrases stand before an "@" or behind the "?".
QString withoutSecrets(const QString &url)
{
    static const QRegularExpression user(QStringLiteral("//[^/@]*@"));
    return url.section(QLatin1Char('?'), 0, 0).replace(user, QStringLiteral("//"));
}

qint64 nsToSamples(qint64 ns)
{
    return ns * qmxAudioRate / QmxClock::nsPerSecond;
}
} // namespace

QmxLiveSource::QmxLiveSource(const QString &url, const QString &soundDevice,
                             const QmxEnvironment &environment)
    : _url(url),
      _name(withoutSecrets(url)),
      _soundDevice(soundDevice),
      _clock(environment.clock),
      _deck(environment.deck),
      _problem(QStringLiteral("waiting for a signal"))
{
    const QmxError error = environment.threads->start(
        QStringLiteral("qmx-live-source"), [this] { run(); }, _thread);
    if (error.isError()) setProblem(error.toString(), QmxLogLevel::Error);
    if (_soundDevice.isEmpty()) return;
    _capture = std::make_unique<QmxSoundCapture>(
        _soundDevice, QmxSourceFormat::audioChannels, environment,
        [this](const qint32 *samples, int count, int channels, qint64 time) {
            pushAudio(samples, count, channels, time);
        },
        [this](const QString &problem) { setSoundProblem(problem); }, [this] { return _audioError.load(); });
}

QmxLiveSource::~QmxLiveSource()
{
    _capture.reset();
    _stopping = true;
    _interrupt.interrupt();
    if (_thread.joinable()) _thread.join();
}

void QmxLiveSource::run()
{
    qint64 pause = firstPause;
    while (!_stopping) {
        _connected = false;
        QmxSourceDecoder decoder(_url, QmxSourceDecoder::Latency::Low, [this] { return shouldGiveUp(); });
        const QmxError error = decoder.open();
        if (!error.isError()) {
            pause = firstPause;
            _lastArrival = _clock->now();
            _connected = true;
            play(decoder);
            continue;
        }
        if (_stopping) break;
        setProblem(error.toString(), QmxLogLevel::Warning);
        _clock->sleepUntil(_clock->now() + pause, &_interrupt);
        pause = std::min(pause * 2, longestPause);
    }
}

bool QmxLiveSource::shouldGiveUp() const
{
    return _stopping || (_connected && _clock->now() - _lastArrival > deadAfter);
}

void QmxLiveSource::play(QmxSourceDecoder &decoder)
{
    while (!shouldGiveUp()) {
        switch (decoder.step()) {
        case QmxSourceDecoder::Step::Video:
            pushVideo(decoder);
            break;
        case QmxSourceDecoder::Step::Audio:
            if (_soundDevice.isEmpty())
                pushAudio(decoder.audio().data(), int(decoder.audio().size()) / decoder.audioChannels(),
                          decoder.audioChannels(), decoder.audioTime());
            decoder.compensateAudio(_audioError);
            break;
        case QmxSourceDecoder::Step::Nothing:
            break;
        case QmxSourceDecoder::Step::Changed:
            return;
        case QmxSourceDecoder::Step::End:
            setProblem(QStringLiteral("the sender has ended"), QmxLogLevel::Info);
            return;
        case QmxSourceDecoder::Step::Failed:
            if (!_stopping) setProblem(QStringLiteral("the signal is gone"), QmxLogLevel::Info);
            return;
        }
    }
}

void QmxLiveSource::setProblem(const QString &problem, int level)
{
    const std::lock_guard lock(_mutex);
    if (problem == _problem) return;
    _problem = problem;
    qmxLogOutput(level, "qmxlivesource", __LINE__, "Input %s: %s\n", qUtf8Printable(_name),
                 qUtf8Printable(problem));
}

void QmxLiveSource::setSoundProblem(const QString &problem)
{
    const std::lock_guard lock(_mutex);
    if (problem == _soundProblem) return;
    _soundProblem = problem;
    qmxLogOutput(problem.isEmpty() ? QmxLogLevel::Info : QmxLogLevel::Warning, "qmxlivesource", __LINE__,
                 "Sound of input %s: %s\n", qUtf8Printable(_name),
                 problem.isEmpty() ? "it is there" : qUtf8Printable(problem));
}

void QmxLiveSource::pushVideo(const QmxSourceDecoder &decoder)
{
    _lastArrival = _clock->now();
    QmxPicture picture = decoder.picture();
    if (!decoder.isTorn())
        _whole = picture;
    else if (_whole.isValid() && _whole.size() == picture.size() &&
             !_deck->takeOptions.values().keepsTornPictures)
        picture = _whole;
    const std::lock_guard lock(_mutex);
    _problem.clear();
    const qint64 bytes = qint64(decoder.desc().width()) * decoder.desc().height() * bytesPerPixel;
    while (!_queue.empty() && (_queue.size() >= queueBound || (qint64(_queue.size()) + 1) * bytes >
                                                                  std::max(queueBytes, shortest * bytes))) {
        _queue.pop_front();
        ++_last.skipped;
    }
    _queue.push_back(Item{decoder.desc(), picture, decoder.timecode(), timeOf(decoder), decoder.isTorn(),
                          decoder.missing()});
}

/// When the picture was in front of the camera. Beside sound of its own that is what the stream says. Beside
/// a sound device it is told on our clock: by the capture device, whose pictures are complete at the time
/// that they carry, else by their coming in, of which those that were not held up on their way count.
qint64 QmxLiveSource::timeOf(const QmxSourceDecoder &decoder)
{
    const qint64 time = decoder.videoTime();
    if (_soundDevice.isEmpty()) return time;
    const qint64 delay = _lastArrival - time;
    qint64 complete = time;
    if (delay < 0 || delay > oldestPicture) { // another clock
        const bool isKnown = _arrivalDelay && std::abs(delay - *_arrivalDelay) < oldestPicture;
        _arrivalDelay =
            isKnown ? std::min(delay, *_arrivalDelay + (delay - *_arrivalDelay) / slowestDrift) : delay;
        complete += *_arrivalDelay;
    }
    return complete - qint64(double(QmxClock::nsPerSecond) / decoder.desc().frameRate().toDouble());
}

void QmxLiveSource::pushAudio(const qint32 *samples, int count, int channels, qint64 time)
{
    const std::lock_guard lock(_mutex);
    const qint64 expected = _soundTime + samplesToNs(_sound.count());
    const bool jumped = std::abs(time - expected) > soundJump;
    if (jumped || _sound.count() > soundBound) _sound.clear();
    // Counted back from what is known exactly: stretching has changed the number of samples since.
    _soundTime = time - samplesToNs(_sound.count());
    _sound.append(samples, count, channels);
}

QmxSourceFrame QmxLiveSource::take(const QmxTick &tick)
{
    const std::lock_guard lock(_mutex);
    if (QmxClock::Duration(tick.deadline - _lastArrival) > lossTime && _queue.empty()) {
        QmxSourceFrame lost;
        lost.repeated = _last.repeated;
        lost.skipped = _last.skipped;
        lost.torn = _last.torn;
        lost.missing = _last.missing;
        _last = lost;
        _running = false;
        _lastSound = 0; // what comes next may have none
    } else {
        recoverClock(tick);
    }
    QmxSourceFrame frame = _last;
    _last.damage = 0;
    frame.audio = sound(tick);
    if (_sound.count() > 0) _lastSound = tick.deadline;
    frame.soundMissing =
        frame.picture.isValid() && _lastSound != 0 && tick.deadline - _lastSound > soundLossTime;
    return frame;
}

void QmxLiveSource::recoverClock(const QmxTick &tick)
{
    const int depth = int(_queue.size());
    if (!_running) {
        _running = depth >= (_last.picture.isValid() ? restartDepth : targetDepth);
        _depth = targetDepth;
        _due = 0;
    }
    if (!_running) {
        if (_last.picture.isValid()) ++_last.repeated;
        return;
    }
    const QmxVideoRate rate =
        _queue.empty() ? _last.state.inputImageDesc().frameRate() : _queue.front().desc.frameRate();
    const bool sameRate = rate == tick.rate;
    _due = sameRate ? 1 : _due + rate.toDouble() / std::max(tick.rate.toDouble(), 1.0);
    _depth += (depth - _depth) * depthSmoothing;
    int excess = 0;
    if (depth > targetDepth + burstDepth)
        excess = depth - targetDepth;
    else if (_depth > targetDepth + slackDepth)
        excess = 1;
    if (excess > 0) {
        _last.skipped += excess;
        _depth = std::max(_depth - excess, double(targetDepth));
        for (; excess > 0; --excess)
            popFrame();
    }
    if (_due >= 1 && _queue.empty()) {
        _running = false;
        ++_last.repeated;
        _pictureTime += qint64(double(QmxClock::nsPerSecond) / std::max(rate.toDouble(), 1.0));
        return;
    }
    for (; _due >= 1 && !_queue.empty(); _due -= 1)
        popFrame();
}

void QmxLiveSource::popFrame()
{
    if (_queue.empty()) return;
    const Item &item = _queue.front();
    _last.state = QmxSourceFormat::state(item.desc);
    _last.picture = item.picture;
    _last.timecode = item.timecode;
    _last.torn += item.torn ? 1 : 0;
    _last.missing += item.missing;
    _last.damage += item.missing + (item.torn ? 1 : 0);
    _pictureTime = item.time;
    _queue.pop_front();
}

QmxAudio QmxLiveSource::sound(const QmxTick &tick)
{
    const int samples = qmxAudioSamples(tick.index, tick.rate);
    if (!_last.picture.isValid() || _sound.count() == 0) return QmxSourceAudio().take(samples, tick.rate);
    qint64 offset = _soundTime - _pictureTime;
    if (offset < -soundJump) {
        const int late = std::min(int(std::min<qint64>(nsToSamples(-offset), soundBound)), _sound.count());
        _sound.drop(late);
        _soundTime += samplesToNs(late);
        offset = 0;
    }
    if (offset > soundJump) return QmxSourceAudio().take(samples, tick.rate); // its time has not come
    _audioOffset += (double(offset) - _audioOffset) * soundSmoothing;
    _audioError = int(std::clamp<qint64>(nsToSamples(qint64(_audioOffset)), -largestStretch, largestStretch));
    const int given = std::min(samples, _sound.count());
    QmxAudio audio = _sound.take(samples, tick.rate);
    _soundTime += samplesToNs(given);
    return audio;
}

QString QmxLiveSource::statusText() const
{
    const std::lock_guard lock(_mutex);
    if (!_problem.isEmpty()) return QStringLiteral("Input %1: %2").arg(_name, _problem);
    const QString sound =
        _soundProblem.isEmpty() ? QString() : QStringLiteral(", no sound: ") + _soundProblem;
    return QStringLiteral("Input %1: %2, %3 frames waiting, %4 repeated, %5 skipped, %6 torn, %7 missing")
        .arg(_name, _last.state.inputImageDesc().toString() + sound)
        .arg(_queue.size())
        .arg(_last.repeated)
        .arg(_last.skipped)
        .arg(_last.torn)
        .arg(_last.missing);
}
