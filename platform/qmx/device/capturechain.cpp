// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/device/capturechain.h"

#include "platform/qmx/core/qmxids.h"

#include <algorithm>
#include <cstdlib>

namespace {

bool sameFormat(const QmxImageDesc &a, const QmxImageDesc &b)
{
    return a.width() == b.width() && a.height() == b.height() && a.frameRate() == b.frameRate() &&
           a.scanMode() == b.scanMode();
}

bool pictureFits(const QmxSourceFrame &source, const QmxImageDesc &desc, bool fromGenerator, bool good)
{
    if (!source.picture.isValid()) return false;
    // Only the conversion that was asked for changes a size; nothing is bent to fit.
    const bool converts = !fromGenerator && !source.state.recInhibit().isValid();
    const QmxImageDesc signal = converts ? source.state.inputImageDesc() : desc;
    if (source.picture.size() != QSize(signal.width(), signal.height())) return false;
    return fromGenerator || (good && sameFormat(source.state.captureImageDesc(), desc));
}

/// Something is to be done to the picture before it can be coded.
bool waitsForWork(const CapturedFrame &frame, const QmxVideoDeviceSetup &setup)
{
    return frame.hasPicture && (setup.inputLut().isValid() ||
                                frame.picture.size() != QSize(frame.desc.width(), frame.desc.height()));
}

} // namespace

void CaptureChain::begin(const QmxVideoDeviceSetup &setup)
{
    clear();
    _lossInTake = false;
    _generator.setSource(setup.timecodeInputSource(), setup.imageDesc().frameRate().timecodeRate());
}

void CaptureChain::clear()
{
    _queue.clear();
    _picture = QmxPicture();
    _firstAfterLoss.reset();
}

void CaptureChain::flush()
{
    if (!_queue.isRecording()) _queue.skip();
}

bool CaptureChain::setRecord(bool on, qint64 tick, const TakeBegin &begin)
{
    if (on == _queue.isRecording()) return false;
    _takeRead = false;
    _repeatLoss = false;
    _lossInTake = false;
    _firstAfterLoss.reset();
    if (on) {
        ++_take;
        _queue.beginRecord(tick, begin);
    } else {
        _queue.endRecord();
    }
    return true;
}

CapturedFramePtr CaptureChain::step(const CardInput &seen, const QmxTick &tick,
                                    const QmxVideoDeviceSetup &setup, bool good,
                                    const QmxMetadataHash &ancillary)
{
    const bool internal = setup.videoInputSource() == QmxIds::internalGenerator;
    const QmxSourceFrame &source = internal ? seen.generator : seen.input;
    auto frame = std::make_shared<CapturedFrame>();
    frame->number = tick.index;
    frame->desc = setup.captureDesc();
    frame->hasPicture = pictureFits(source, setup.imageDesc(), internal, good);
    if (frame->hasPicture) frame->picture = source.picture;
    frame->waitsForWork = waitsForWork(*frame, setup);
    frame->audio = sound(seen, tick, setup, good && frame->hasPicture);
    frame->metadata = ancillary;
    // (Of an input that is gone the picture of this frame is missing, whatever will stand in for it.)
    if (const int damage = std::max(source.damage, frame->hasPicture ? 0 : 1); damage > 0)
        frame->metadata.insert(QmxIds::inputDamage, damage);
    frame->timecode = _generator.step(good ? seen.input.timecode : QmxTimecode(), frame->hasPicture);

    if (_takeRead && !frame->hasPicture) {
        _lossInTake = true;
        _firstAfterLoss.reset();
    } else if (_lossInTake) {
        _lossInTake = false;
        _firstAfterLoss = frame;
    }
    return frame;
}

QmxPicture CaptureChain::fitting(const CardInput &seen, const QmxVideoDeviceSetup &setup, bool good)
{
    const bool internal = setup.videoInputSource() == QmxIds::internalGenerator;
    const QmxSourceFrame &source = internal ? seen.generator : seen.input;
    return pictureFits(source, setup.imageDesc(), internal, good) ? source.picture : QmxPicture();
}

/// In the form that the set-up wants: the first channels of the source, or silence of the exact length. Eight
/// may stand for more: all that an input has.
QmxAudio CaptureChain::sound(const CardInput &seen, const QmxTick &tick, const QmxVideoDeviceSetup &setup,
                             bool usable) const
{
    constexpr int eight = 8;
    QmxAudioDesc desc = setup.audioDesc();
    if (!desc.isValid()) return {};
    if (desc.channels() == eight) desc.setChannels(_wideChannels);
    const bool internal = setup.audioInputSource() == QmxIds::internalGenerator;
    const QmxAudio &source = internal ? seen.generator.audio : seen.input.audio;
    const int samples = qmxAudioSamples(tick.index, tick.rate);
    // A source may keep the cadence of its own frames, which differs by a sample.
    const bool fits = source.isValid() && std::abs(source.samples() - samples) <= 1;
    if (!fits || (!internal && !usable)) return QmxAudio::silence(desc, samples);
    const int from = source.desc().channels();
    const int to = desc.channels();
    QmxBuffer buffer = QmxBuffer::allocate(qsizetype(source.samples()) * to * qsizetype(sizeof(qint32)));
    if (!buffer.isValid()) return QmxAudio(desc);
    auto *sample = reinterpret_cast<qint32 *>(buffer.data());
    for (int i = 0; i < source.samples(); ++i)
        for (int channel = 0; channel < to; ++channel)
            *sample++ = channel < from ? source.data()[i * from + channel] : 0;
    return QmxAudio(desc, buffer, source.samples());
}

bool CaptureChain::holdsTimecode()
{
    const bool waits = _firstAfterLoss && _firstAfterLoss->coding != CapturedFrame::Coded;
    if (!waits) _firstAfterLoss.reset();
    return _lossInTake || waits;
}

void CaptureChain::jam(const QmxTimecode &value, const QmxRecordTable::Memory &memory, bool timeOfDay)
{
    QmxTimecode first = _generator.jam(value, memory);
    if (_generator.followsInput()) return;
    const int waiting = _queue.size();
    if (timeOfDay && waiting > 1) first = first.advanced(1 - waiting);
    _generator.setNext(_queue.stamp(first));
}

CaptureChain::Reading CaptureChain::read()
{
    Reading reading;
    reading.frame = _queue.take();
    if (!reading.frame || !_queue.isRecording()) return reading;
    reading.inTake = true;
    reading.beginsTake = !_takeRead;
    _takeRead = true;
    reading.tellsLoss = reading.frame->afterGap && _repeatLoss;
    if (reading.tellsLoss) _repeatLoss = false;
    return reading;
}

void CaptureChain::processed(const CapturedFramePtr &frame, const QmxPicture &picture,
                             const QmxImageDesc &current)
{
    frame->waitsForWork = false;
    frame->picture = picture;
    frame->hasPicture = picture.isValid();
    if (!picture.isValid()) return;
    // Not a late one of another set-up, and not an older one.
    if (frame->number > _pictureNumber && frame->desc == current) _picture = picture;
    _pictureNumber = std::max(_pictureNumber, frame->number);
}

void CaptureChain::refuse(CapturedFrame &frame)
{
    // Not in the format of the set-up: as if there were none.
    frame.waitsForWork = false;
    frame.hasPicture = false;
    frame.picture = QmxPicture();
}
