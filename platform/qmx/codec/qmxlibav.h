// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/codec/qmxpicture.h"
#include "platform/qmx/core/qmxerror.h"
#include "platform/qmx/core/qmximagedesc.h"

#include <memory>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libswresample/swresample.h>
#include <libswscale/swscale.h>
}

/// Owners and small translations for the libav libraries. Nothing here has state; any thread.
namespace QmxLibav {

struct Free
{
    void operator()(AVFrame *p) const { av_frame_free(&p); }
    void operator()(AVPacket *p) const { av_packet_free(&p); }
    void operator()(AVCodecContext *p) const { avcodec_free_context(&p); }
    void operator()(SwsContext *p) const { sws_freeContext(p); }
    void operator()(SwrContext *p) const { swr_free(&p); }
};
using Frame = std::unique_ptr<AVFrame, Free>;
using Packet = std::unique_ptr<AVPacket, Free>;
using CodecContext = std::unique_ptr<AVCodecContext, Free>;
using Scaler = std::unique_ptr<SwsContext, Free>;
using Resampler = std::unique_ptr<SwrContext, Free>;

/// Sends what libav prints to the log at level 4; its errors come back as values and are told by whoever
/// knows what they mean. Again: no-op.
void quietLog();

/// Makes capture devices and windows known to libavformat: "video4linux2" to read, "sdl" to write. They are
/// in a library that drags in half a desktop, so it is loaded when somebody names one. False: not installed.
bool loadDevices();

/// libav's words for one of its error numbers.
QString errorText(int averror);
/// `what` ("decode frame") and libav's words for its error number.
QmxError error(const QString &what, int averror);

/// The pixel format in which a picture's samples lie in memory.
AVPixelFormat pixelFormat(QmxPicture::Format format);
QmxPicture::Format pictureFormat(int avPixelFormat);
/// A frame whose planes are the picture's samples: nothing is copied, the frame holds a reference.
Frame wrap(const QmxPicture &picture);
/// Lets a decoder write its pictures into pool memory. For decoders whose pixel format is one of
/// QmxPicture's; others get libav's own memory. The frame's opaque_ref then holds the picture.
void decodeIntoPool(AVCodecContext *context);
/// The picture that decodeIntoPool() has put behind a frame; not valid: the frame is in libav's memory.
QmxPicture pooledPicture(const AVFrame *frame);

/// Colour of a raster: BT.709 for high definition, BT.601 of 525 or 625 lines for standard definition
/// (primaries, transfer and matrix as in ITU-T H.273).
struct Colour
{
    AVColorPrimaries primaries;
    AVColorTransferCharacteristic transfer;
    AVColorSpace matrix;
};
Colour colour(const QSize &size);
/// Top field first, but for 486 and 480 lines.
bool topFieldFirst(const QSize &size);
/// Whether the frame holds two fields; libav has moved the note from a member into a flag.
bool isInterlaced(const AVFrame *frame);
void setInterlaced(AVFrame *frame, bool interlaced, bool topFieldFirst);
} // namespace QmxLibav
