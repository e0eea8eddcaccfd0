// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/edges/qmxpreviewsink.h"

#include "platform/qmx/codec/qmxreducekernels.h"
#include "platform/qmx/core/qmxframeshown.h"
#include "platform/qmx/core/qmxids.h"
#include "platform/qmx/core/qmxthreadname.h"

#include <algorithm>
#include <cstdlib>

namespace {
constexpr int queueBound = 3;
constexpr double fullScale = 2147483648.0;
constexpr int blackLuma8 = 16;
constexpr int neutral8 = 128;

/// How many times smaller the preview of such a picture is.
int factorOf(int width, int height)
{
    int factor = 1;
    while (width / factor > QmxPreview::maximumWidth || height / factor > QmxPreview::maximumHeight)
        ++factor;
    return factor;
}

/// Whether so many times more samples a line than the picture has are those of the whole one.
bool isNoSmaller(const QmxOutputFrame &frame, int divisor)
{
    if (!frame.picture.isValid()) return true;
    return frame.divisor <= divisor && frame.picture.width() * divisor >= frame.desc.width();
}

/// Mean of 2 x 2 samples spread over a block of factorX x factorY, as 8 bits.
void reducePlane(const QmxPicture &picture, int plane, int factorX, int factorY, int width, int height,
                 char *out)
{
    for (int y = 0; y < height; ++y, out += width)
        QmxReduceKernels::reduceRow(picture.row(plane, y * factorY),
                                    picture.row(plane, y * factorY + factorY / 2), factorX, width,
                                    reinterpret_cast<uchar *>(out));
}

/// Red, green and blue of the same size, full range, in `planes`, become legal Y, Cb, Cr (BT.709).
void rgbToYuv(QmxPreviewPicture &p, const QByteArray &red, const QByteArray &green, const QByteArray &blue)
{
    const auto value = [](const QByteArray &plane, int i) { return int(uchar(plane[i])); };
    for (int y = 0; y < p.height; ++y) {
        for (int x = 0; x < p.width; ++x) {
            const int i = y * p.width + x;
            const int r = value(red, i), g = value(green, i), b = value(blue, i);
            // Weights times 219 / 255 and 224 / 255, in 1/65536.
            p.luma[i] = char(blackLuma8 + ((11966 * r + 40254 * g + 4064 * b + 32768) >> 16));
            if (x % 2 != 0 || y % 2 != 0) continue;
            const int c = y / 2 * (p.width / 2) + x / 2;
            p.cb[c] = char(neutral8 + ((-6596 * r - 22189 * g + 28784 * b + 32768) >> 16));
            p.cr[c] = char(neutral8 + ((28784 * r - 26145 * g - 2639 * b + 32768) >> 16));
        }
    }
}
} // namespace

QmxPreviewSink::QmxPreviewSink(const QString &name, const QmxEnvironment &environment)
    : _name(name),
      _writer(name),
      _scopes(name, environment),
      _full(QmxFullPicture::nameBeside(name)),
      _thread(QStringLiteral("qmx-preview"), queueBound, environment)
{
    _thread.post(qmxYieldToEventLoop);
}

QmxPreviewSink::~QmxPreviewSink() = default;

void QmxPreviewSink::show(const QmxOutputFrame &frame)
{
    if (!_writer.isOpen()) return;
    _tick = frame.tick.index;
    const auto follow = [this](quint64 asked, quint64 &before, std::atomic<qint64> &until) {
        if (asked != before) until = _tick + QmxScopesReader::askedForTicks;
        before = asked;
    };
    follow(_full.asked(), _fullAsked, _fullUntil);
    follow(_scopes.asked(), _scopesAsked, _scopesUntil);
    if (!_thread.post([this, frame] { publish(frame); })) ++_dropped;
}

void QmxPreviewSink::publish(const QmxOutputFrame &frame)
{
    const bool isBlack = !frame.picture.isValid();
    const bool same =
        frame.desc == _desc && (isBlack ? !_reduced.isValid() : _reduced.sharesWith(frame.picture));
    if (!same) {
        if (isBlack) _preview.width = frame.desc.width(), _preview.height = frame.desc.height();
        reduce(frame.picture, _preview);
        _reduced = frame.picture;
        _desc = frame.desc;
    }
    _preview.tick = frame.tick.index;
    _preview.time = frame.tick.deadline;
    _preview.timecode = frame.timecode.toString();
    _preview.format = frame.desc.toString();
    _preview.aspectWidth = frame.desc.aspectWidth();
    _preview.aspectHeight = frame.desc.aspectHeight();
    _preview.connection = frame.connection;
    _preview.input = frame.input;
    _preview.outputs = frame.outputs;
    _preview.frameNumber = qmxFrameShown(frame.metadata);
    _preview.isCapture = frame.isCapture;
    _preview.isRepeat = frame.isRepeat;
    _preview.peaks.fill(0);
    const int channels = frame.audio.isValid() ? frame.audio.desc().channels() : 0;
    const qint32 *samples = frame.audio.data();
    for (int i = 0; i < (samples ? frame.audio.samples() : 0); ++i)
        for (int c = 0; c < std::min(channels, QmxPreviewPicture::channels); ++c) {
            double &peak = _preview.peaks[size_t(c)];
            peak = std::max(peak, std::abs(double(samples[i * channels + c])) / fullScale);
        }
    _loudness.add(frame.audio);
    _preview.momentaryLoudness = _loudness.momentary();
    _preview.shortTermLoudness = _loudness.shortTerm();
    _writer.write(_preview);
    if (isNoSmaller(frame, QmxScopes::greatestDivisor(frame.desc.width()))) _scopes.offer(frame);
    if (_full.isWanted() && isNoSmaller(frame, 1)) _full.offer(frame.picture);
}

int QmxPreviewSink::divisor(const QmxImageDesc &desc, bool stands) const
{
    const bool measures = _tick <= _scopesUntil;
    if (_tick <= _fullUntil || (measures && stands)) return 1;
    const int factor = factorOf(desc.width(), desc.height());
    // The greatest power of two in it: the preview is the same size then.
    const int divisor = factor & -factor;
    return measures ? std::min(divisor, QmxScopes::greatestDivisor(desc.width())) : divisor;
}

int QmxPreviewSink::coarsest(const QmxImageDesc &desc) const
{
    if (_tick <= _fullUntil) return 1;
    return _tick <= _scopesUntil ? QmxScopes::greatestDivisor(desc.width()) : greatestDivisor;
}

void QmxPreviewSink::reduce(const QmxPicture &picture, QmxPreviewPicture &preview)
{
    const int fromWidth = picture.isValid() ? picture.width() : preview.width;
    const int fromHeight = picture.isValid() ? picture.height() : preview.height;
    const int factor = factorOf(fromWidth, fromHeight);
    const int width = fromWidth / factor / 2 * 2, height = fromHeight / factor / 2 * 2;
    const qsizetype pixels = qsizetype(width) * height;
    preview.width = width;
    preview.height = height;
    preview.hasPicture = picture.isValid();
    preview.luma.resize(pixels);
    preview.cb.resize(pixels / 4);
    preview.cr.resize(pixels / 4);
    if (!picture.isValid()) {
        preview.luma.fill(blackLuma8);
        preview.cb.fill(char(neutral8));
        preview.cr.fill(char(neutral8));
        return;
    }
    if (picture.format() == QmxPicture::Format::Rgb444P10) {
        QByteArray planes[3];
        for (int plane = 0; plane < 3; ++plane) {
            planes[plane].resize(pixels);
            reducePlane(picture, plane, factor, factor, width, height, planes[plane].data());
        }
        rgbToYuv(preview, planes[0], planes[1], planes[2]);
        return;
    }
    const int chromaFactor = picture.width() == picture.planeWidth(1) ? factor * 2 : factor;
    reducePlane(picture, 0, factor, factor, width, height, preview.luma.data());
    reducePlane(picture, 1, chromaFactor, factor * 2, width / 2, height / 2, preview.cb.data());
    reducePlane(picture, 2, chromaFactor, factor * 2, width / 2, height / 2, preview.cr.data());
}

QString QmxPreviewSink::statusText() const
{
    return _writer.isOpen() ? QStringLiteral("Preview in shared memory %1").arg(_name)
                            : QStringLiteral("No preview: shared memory %1 cannot be made").arg(_name);
}
