// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/edges/qmxmuxsink.h"

#include "platform/qmx/core/qmxloglevel.h"

#include <QFileInfo>
#include <QRegularExpression>

namespace {
constexpr int queueBound = 8;
constexpr qint64 retryPause = 2 * QmxClock::nsPerSecond;
constexpr QLatin1String callerIsMissing("waiting for a caller");

QString withoutSecrets(const QString &url)
{
    static const QRegularExpression user(QStringLiteral("//[^/@]*@"));
    return url.section(QLatin1Char('?'), 0, 0).replace(user, QStringLiteral("//"));
}
} // namespace

QmxMuxer::~QmxMuxer() = default;

QmxMuxSink::QmxMuxSink(const QString &url, const QmxEnvironment &environment)
    : _options(QmxOutputOptions::parse(url)),
      _name(withoutSecrets(url)),
      _isFile(!url.contains(QStringLiteral("://")) && !url.startsWith(QmxMuxer::windowScheme)),
      _status(QStringLiteral("waiting for the first frame")),
      _thread(QStringLiteral("qmx-output"), queueBound, environment)
{
    if (!_options.problem.isEmpty()) setStatus(_options.problem, false);
}

QmxMuxSink::~QmxMuxSink()
{
    // A network call that hangs is given up; a file still gets all that waits.
    if (!_isFile) _stopping = true;
    _thread.stop();
}

void QmxMuxSink::show(const QmxOutputFrame &frame)
{
    _newest = frame.tick.index;
    if (_options.isListener && frame.desc.isValid()) {
        const std::lock_guard lock(_mutex);
        _newestDesc = frame.desc;
    }
    if (_waiting || !_options.problem.isEmpty()) return;
    if (!_thread.post([this, frame] { write(frame); })) ++_dropped;
}

void QmxMuxSink::write(const QmxOutputFrame &frame)
{
    if (_stopping || !frame.desc.isValid() || frame.tick.index < _notBefore) return;
    if (frame.desc != _desc || (!_muxer && frame.tick.deadline >= _retryAt)) open(frame);
    if (frame.tick.index < _notBefore) return;
    if (!_muxer) {
        ++_dropped;
        return;
    }
    const QmxError error = _muxer->write(frame);
    if (!error.isError()) {
        ++_written;
        return;
    }
    _muxer.reset();
    if (_options.isListener) {
        // The caller has gone; the next frame waits for another one.
        setStatus(callerIsMissing, true);
        return;
    }
    ++_dropped;
    _retryAt = frame.tick.deadline + retryPause;
    if (!_stopping) setStatus(error.toString(), false);
}

void QmxMuxSink::open(const QmxOutputFrame &frame)
{
    _muxer.reset();
    _desc = frame.desc;
    QmxOutputOptions options = _options;
    if (_isFile && ++_opened > 1) {
        const QFileInfo file(options.address);
        options.address = QStringLiteral("%1/%2_%3.%4")
                              .arg(file.path(), file.completeBaseName())
                              .arg(_opened)
                              .arg(file.suffix());
    }
    QmxError error;
    if (options.isListener) setStatus(callerIsMissing, true);
    _waiting = options.isListener;
    // Somebody may call hours after the wait has begun: what counts is the output at that moment. (A format
    // that is over would let the next frame begin the stream anew, which turns the caller away.)
    const auto format = [this] { return _desc = _options.isListener ? newestFormat() : _desc; };
    _muxer = QmxMuxer::open(options, format, _stopping, &error);
    if (_waiting.exchange(false)) _notBefore = _newest + 1;
    if (_muxer) {
        setStatus(_desc.toString(), true);
        return;
    }
    _retryAt = frame.tick.deadline + retryPause;
    if (!_stopping) setStatus(error.toString(), false);
}

void QmxMuxSink::setStatus(const QString &status, bool good)
{
    const std::lock_guard lock(_mutex);
    _good = good;
    if (status == _status) return;
    _status = status;
    qmxLogOutput(good ? QmxLogLevel::Info : QmxLogLevel::Warning, "qmxmuxsink", __LINE__, "Output %s: %s\n",
                 qUtf8Printable(_name), qUtf8Printable(status));
}

QmxImageDesc QmxMuxSink::newestFormat() const
{
    const std::lock_guard lock(_mutex);
    return _newestDesc;
}

QString QmxMuxSink::problem() const
{
    const std::lock_guard lock(_mutex);
    return _good ? QString() : QStringLiteral("Output %1: %2").arg(_name, _status);
}

QString QmxMuxSink::statusText() const
{
    const std::lock_guard lock(_mutex);
    return QStringLiteral("Output %1: %2, %3 frames, %4 dropped")
        .arg(_name, _status)
        .arg(_written.load())
        .arg(_dropped.load());
}
