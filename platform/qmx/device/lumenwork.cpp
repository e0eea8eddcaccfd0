// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/core/qmxdeck.h"
#include "platform/qmx/core/qmxids.h"
#include "platform/qmx/core/qmxloglevel.h"
#include "platform/qmx/device/lumenengine.h"
#include "platform/qmx/device/picturework.h"

#include <algorithm>
#include <utility>

namespace {
constexpr const char *logSource = "lumen";
} // namespace

/// What nobody records is lost to nobody: out of a take frames that are not read make room for newer ones. In
/// a take that is being closed, or parted by a join, nobody reads, and whether it goes on is known when it
/// does.
void LumenEngine::captureLost(qint64 frames)
{
    const bool nobodyReads = _lostMeanwhile > 0 || _environment.deck->operations.inProgress() > 0;
    if (_capture.isRecording() && nobodyReads)
        _lostMeanwhile += frames;
    else if (_capture.isRecording())
        _environment.deck->counters.add(QmxCounters::FramesDroppedCapture, frames);
    push(DeviceEvent::CaptureDropped, _capture.take());
}

/// A source may take its time to end: not on the clock's thread.
void LumenEngine::retire(std::unique_ptr<QmxSource> source)
{
    _retired.take(std::move(source));
}

void LumenEngine::postCoding()
{
    const QList<CapturedFramePtr> frames = _capture.takeUncoded();
    for (const CapturedFramePtr &frame : frames) {
        const bool posted =
            _workers.post([this, frame](CodecContexts &contexts) { encode(contexts, frame); });
        if (!posted && _capture.coded(frame, QmxBuffer())) captureLost();
    }
}

void LumenEngine::encode(CodecContexts &contexts, const CapturedFramePtr &frame)
{
    QmxPicture picture;
    QmxImageDesc desc;
    bool inTake = false;
    {
        std::lock_guard lock(_mutex);
        inTake = _capture.isRecording();
        if (!_capture.wantsCoded(*frame)) {
            // Nobody wants it coded any more; should a take begin while it waits it is queued again.
            frame->coding = CapturedFrame::Raw;
            return;
        }
        picture = frame->picture;
        desc = frame->desc;
    }
    QmxBuffer coded;
    QmxError error(ENOTSUP);
    if (QmxVideoEncoder *encoder = contexts.encoder(desc)) {
        const QmxPicture::Format format = contexts.row(desc.dataType())->pictureFormat;
        const bool changesColour =
            picture.format() != format &&
            (picture.format() == QmxPicture::Format::Rgb444P10 || format == QmxPicture::Format::Rgb444P10);
        picture = changesColour ? contexts.converter().convert(picture, format)
                                : PictureWork::inFormat(picture, format);
        error = encoder->encode(picture, coded);
    }
    if (error.isError()) {
        coded = QmxBuffer();
        qmxLogOutput(QmxLogLevel::Error, logSource, __LINE__,
                     "A captured picture is lost: coding as %s failed: %s\n", qPrintable(desc.toString()),
                     qPrintable(error.toString()));
    }
    // Here its bytes are near. What is only kept for a take to come need not be proved.
    const auto proof = std::make_shared<MovSharedProof>();
    if (inTake && coded.isValid()) proof->of(coded.constData(), size_t(coded.size()));
    std::lock_guard lock(_mutex);
    frame->proof = proof;
    if (_capture.coded(frame, coded)) captureLost();
}

void LumenEngine::postProcessing(const CapturedFramePtr &frame)
{
    const QmxImageLut table = _running.inputLut();
    const bool posted =
        _workers.post([this, frame, table](CodecContexts &contexts) { process(contexts, frame, table); });
    if (!posted) CaptureChain::refuse(*frame);
}

/// Input conversion, then input table.
void LumenEngine::process(CodecContexts &contexts, const CapturedFramePtr &frame, const QmxImageLut &table)
{
    QmxPicture picture;
    {
        std::lock_guard lock(_mutex);
        picture = frame->picture;
    }
    const QSize size(frame->desc.width(), frame->desc.height());
    if (picture.size() != size)
        picture = contexts.converter().convert(picture, size, frame->desc.isInterlaced());
    const QmxPicture processed = PictureWork::withLut(picture, table);
    std::lock_guard lock(_mutex);
    _capture.processed(frame, processed, _running.captureDesc());
    postCoding();
}

void LumenEngine::postDecoding()
{
    for (const DecodedPicturePtr &picture : _playback.undecoded()) {
        if (!_workers.post([this, picture](CodecContexts &contexts) { decode(contexts, picture); })) return;
        picture->state = DecodedPicture::Posted;
    }
}

void LumenEngine::decode(CodecContexts &contexts, const DecodedPicturePtr &picture)
{
    // Constant since the picture was queued: no lock.
    const QmxImageDesc desc = picture->image.desc();
    QmxPicture decoded;
    QmxError error(ENOTSUP);
    int damaged = 0;
    int divisor = 1, asked = 1;
    {
        std::lock_guard lock(_mutex);
        // A flush has forgotten its frame and nobody has asked for it again.
        constexpr long jobAlone = 2;
        if (picture.use_count() < jobAlone) {
            picture->state = DecodedPicture::Waiting;
            picture->refining = false;
            return;
        }
        asked = divisorFor(*picture);
        divisor = isShuttle() && !picture->refining ? std::max(asked, _shuttle.divisor()) : asked;
    }
    const qint64 begin = _environment.clock->now();
    if (QmxVideoDecoder *decoder = contexts.decoder(desc)) {
        const QmxBuffer coded = picture->image.buffers().first();
        error =
            divisor == 1 ? decoder->decode(coded, decoded) : decoder->decodeSmaller(coded, divisor, decoded);
        damaged = decoder->damagedParts();
    }
    if (error.isError())
        qmxLogOutput(QmxLogLevel::Warning, logSource, __LINE__, "A picture cannot be shown: %s: %s\n",
                     qPrintable(desc.toString()), qPrintable(error.toString()));
    else
        decoded = PictureWork::withLut(decoded, picture->lut);
    const bool isSmaller = decoded.isValid() && decoded.width() < desc.width();
    std::lock_guard lock(_mutex);
    _shuttle.decoded(divisor, _environment.clock->now() - begin);
    const bool isFirst = !std::exchange(picture->refining, false);
    picture->divisor = isSmaller ? divisor : 1;
    picture->isSoft = isSmaller && divisor > asked;
    if (picture->isSoft) _environment.deck->counters.add(QmxCounters::PicturesSoft);
    if (!isFirst && !decoded.isValid()) return; // what is there is better than black
    picture->picture = decoded;
    picture->failed = error.isError();
    picture->damagedParts = damaged;
    picture->state = DecodedPicture::Done;
    if (isFirst) _playback.keep(picture);
}
