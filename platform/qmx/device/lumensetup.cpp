// SPDX-License-Identifier: GPL-3.0-or-later
// The card's set-ups: what they change, and when.
#include "platform/qmx/device/lumenengine.h"

#include "platform/qmx/core/qmxids.h"
#include "platform/qmx/core/qmxloglevel.h"
#include "platform/qmx/core/qmxmemorypool.h"

#include <algorithm>
#include <cerrno>

namespace {
constexpr const char *logSource = "lumen";
constexpr int vbiSeconds = 10; ///< vertical intervals that wait for the event loop at most
constexpr qint64 megabyte = 1024 * 1024;
/// Pictures that wait for a coder may fill this part of the pool, and so much in any case.
constexpr int backlogShare = 3;
constexpr qint64 leastBacklog = 256 * megabyte;
} // namespace

QmxError LumenEngine::check(const QmxVideoDeviceSetup &setup)
{
    if (setup.imageDesc().isValid()) return {};
    return {EINVAL, QStringLiteral("The set-up of the video device has no picture format")};
}

void LumenEngine::setup(const QmxVideoDeviceSetup &setup)
{
    std::lock_guard lock(_mutex);
    _asked = setup;
    if (setup.isInCapture())
        applyCapture(setup);
    else
        applyPlayback(setup);
    const double ticks =
        setup.imageDesc().frameRate().toDouble() * (setup.imageDesc().isInterlaced() ? 2 : 1);
    _events.setVbiBound(int(ticks * vbiSeconds));
}

/// What may wait, in either direction.
void LumenEngine::setBounds(const QmxVideoDeviceSetup &setup)
{
    _backlogBytes = _profile.backlogMegabytes * megabyte;
    if (_backlogBytes == 0) {
        QmxMemoryPool::UsageData usage;
        QmxMemoryPool::instance()->getUsageData(usage);
        _backlogBytes = std::max(leastBacklog, qint64(usage.totalSize / backlogShare));
    }
    _capture.setBounds(setup.maxBuffers(), _backlogBytes);
}

void LumenEngine::applyCapture(const QmxVideoDeviceSetup &setup)
{
    _deferred.reset();
    const bool capturing = _hasSetup && !_playing;
    if (capturing && setup.capturesLike(_running)) {
        _running = setup;
        setBounds(setup);
        _startPending = true;
    } else if (capturing && _capture.takeIsRead()) {
        _deferred = setup;
    } else {
        startCapture(setup);
    }
}

void LumenEngine::startCapture(const QmxVideoDeviceSetup &setup)
{
    _playback.clear();
    _capture.begin(setup);
    setBounds(setup);
    _running = setup;
    _hasSetup = true;
    _playing = false;
    _startPending = true;
    ++_generation;
    watch(setup);
    makeGenerator(setup);
    _workers.prepareEncoder(setup.captureDesc());
    if (!_options.codecsFor(_profile)(setup.imageDesc().dataType()))
        qmxLogOutput(QmxLogLevel::Warning, logSource, __LINE__,
                     "Pictures cannot be recorded as %s: choose another codec\n",
                     qPrintable(setup.imageDesc().dataType().name()));
}

void LumenEngine::applyPlayback(const QmxVideoDeviceSetup &setup)
{
    if (!_playing) {
        _deferred.reset();
        _capture.clear();
        _playback.forgetFrames();
        _playing = true;
        ++_generation;
        if (!_hasSetup) _running = setup;
        _hasSetup = true;
    }
    _startPending = true;
    setBounds(setup);
    _playback.setup(setup);
    watch(setup);
}

void LumenEngine::watch(const QmxVideoDeviceSetup &setup)
{
    // The input as captured may have another format now; that is told once, like a change of the signal.
    _inputConversion = setup.videoInConvert();
    const QmxId source = setup.videoInputSource();
    if (!source.isValid() || source == QmxIds::internalGenerator || source.value() == _watched) return;
    _watched = source.value();
    retire(std::move(_newInput)); // no tick has taken it yet
    _newInput = _options.createSource(_profile.input(_watched), _environment);
    _inputWatch.sourceChanged();
}

void LumenEngine::makeGenerator(const QmxVideoDeviceSetup &setup)
{
    const bool video = setup.videoInputSource() == QmxIds::internalGenerator;
    const bool audio = setup.audioInputSource() == QmxIds::internalGenerator;
    _newGenerator.reset();
    _dropGenerator = !video && !audio;
    if (_dropGenerator) return;
    QmxImageDesc desc = setup.imageDesc();
    if (setup.videoSignalGenColorSpace() == QmxIds::uncompressedRgb)
        desc.setDataType(setup.videoSignalGenColorSpace());
    _newGenerator = _options.createGenerator(desc, video ? setup.videoSignalGenMode() : QmxId(),
                                             audio ? setup.audioSignalGenMode() : QmxId(), _environment);
}
