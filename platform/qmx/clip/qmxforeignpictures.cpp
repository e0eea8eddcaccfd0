// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/clip/qmxforeignpictures.h"
#include "platform/qmx/core/qmxids.h"

#include <cerrno>
#include <cmath>
#include <limits>
#include <numeric>

namespace {

constexpr int maxSide = 8192;
/// Uncompressed pictures that are kept, by bytes and by number.
constexpr qint64 keptBytes = qint64(192) << 20;
constexpr qint64 maxKept = 64;
/// Up to here it is cheaper to decode on than to seek.
constexpr qint64 maxForward = 48;
/// When a seek lands behind its target it is tried again from so many seconds before, then from the start.
constexpr double retries[] = {0, 2, 10};

} // namespace

QmxError QmxForeignPictures::open(const QString &path)
{
    _path = path;
    const QmxError error = _file.open(path, AVMEDIA_TYPE_VIDEO);
    return error.isError() ? error : describe(path);
}

QmxError QmxForeignPictures::describe(const QString &path)
{
    const AVStream *stream = _file.stream();
    const AVCodecParameters *parameters = stream->codecpar;
    const AVRational rate = av_guess_frame_rate(_file.format(), _file.stream(), nullptr);
    const QmxVideoRate stated = QmxVideoRate::stated(rate.num, rate.den);
    if (parameters->width < 2 || parameters->height < 2 || parameters->width > maxSide ||
        parameters->height > maxSide)
        return {ENOTSUP,
                QStringLiteral("The pictures of clip %1 have a size that cannot be shown").arg(path)};
    _desc.setSize(parameters->width & ~1, parameters->height);
    _desc.setFrameRate(stated.isValid() ? stated : QmxVideoRate(25));
    const AVRational pixel = av_guess_sample_aspect_ratio(_file.format(), _file.stream(), nullptr);
    qint64 width = _desc.width();
    qint64 height = _desc.height();
    if (pixel.num > 0 && pixel.den > 0 && pixel.num != pixel.den && pixel.num < maxSide &&
        pixel.den < maxSide) {
        const qint64 divisor = std::gcd(width * pixel.num, height * pixel.den);
        width = width * pixel.num / divisor;
        height = height * pixel.den / divisor;
    }
    _desc.setAspectRatio(int(width), int(height));
    const bool interlaced =
        parameters->field_order != AV_FIELD_UNKNOWN && parameters->field_order != AV_FIELD_PROGRESSIVE;
    _desc.setScanMode(interlaced ? QmxImageDesc::Interlaced : QmxImageDesc::Progressive);
    _desc.setDataType(QmxIds::uncompressed10);
    const QmxCodecRow *codec = qmxCodec(_desc.dataType());
    if (codec) _encoder = codec->createEncoder(_desc);
    if (!_encoder) return {ENOTSUP, QStringLiteral("Nothing can hold the pictures of clip %1").arg(path)};

    _start = stream->start_time != AV_NOPTS_VALUE ? stream->start_time : 0;
    double seconds = 0;
    if (stream->duration > 0)
        seconds = double(stream->duration) * av_q2d(stream->time_base);
    else if (_file.format()->duration > 0)
        seconds = double(_file.format()->duration) / AV_TIME_BASE;
    const double frames = std::round(seconds * _desc.frameRate().toDouble());
    _count = frames < double(std::numeric_limits<int>::max()) ? qint64(frames) : 0;
    // A file without a length is a single picture, or damaged.
    if (_count == 0) {
        const auto noted = _file.decoding();
        _count = _file.next() ? 1 : 0;
    }
    if (const int reason = _file.takeError(); reason != 0 && _count == 0)
        return {reason, QStringLiteral("Cannot read clip %1: %2").arg(path, QmxError(reason).toString())};
    if (_count == 0) return {ENODATA, QStringLiteral("Clip %1 has no frames").arg(path)};
    _file.rewind();
    const qint64 bytes = qint64(_desc.width()) * _desc.height() * 8 / 3;
    _limit = size_t(std::clamp<qint64>(keptBytes / bytes, 4, maxKept));
    return {};
}

double QmxForeignPictures::startTime() const
{
    return double(_start) * av_q2d(_file.stream()->time_base);
}

qint64 QmxForeignPictures::numberOf(const AVFrame *frame) const
{
    const qint64 timestamp = frame->best_effort_timestamp;
    if (timestamp == AV_NOPTS_VALUE) return _runEnd + 1;
    const double seconds = double(timestamp - _start) * av_q2d(_file.stream()->time_base);
    const double number = std::round(seconds * _desc.frameRate().toDouble());
    return std::abs(number) < 1e9 ? qint64(number) : _runEnd + 1;
}

qint64 QmxForeignPictures::timestampOf(qint64 number) const
{
    const double seconds = double(number) / _desc.frameRate().toDouble();
    return _start + qint64(std::llround(seconds / av_q2d(_file.stream()->time_base)));
}

bool QmxForeignPictures::keep(const AVFrame *frame, qint64 number)
{
    const QmxPicture picture =
        _converter.convert(frame, QmxPicture::Format::Yuv422P10, QSize(_desc.width(), _desc.height()));
    QmxBuffer coded;
    if (!picture.isValid() || _encoder->encode(picture, coded).isError()) return false;
    _kept[number] = QmxImage(_desc, {coded});
    return true;
}

/// The picture on show at `number`, when everything up to it has been decoded.
const QmxImage *QmxForeignPictures::kept(qint64 number) const
{
    auto item = _kept.upper_bound(number);
    if (item == _kept.begin()) return nullptr;
    --item;
    if (item->first == number) return &item->second;
    // An earlier one counts only if it is known that no other stands between the two.
    const bool covered = _runStart >= 0 && item->first >= _runStart && (number <= _runEnd || _atEnd);
    return covered && item->first <= _runEnd ? &item->second : nullptr;
}

void QmxForeignPictures::forgetFarFrom(qint64 number)
{
    while (_kept.size() > _limit) {
        const auto first = _kept.begin();
        const auto last = std::prev(_kept.end());
        _kept.erase(number - first->first > last->first - number ? first : last);
    }
}

bool QmxForeignPictures::decodeTo(qint64 number)
{
    while (_runEnd < number) {
        const AVFrame *frame = _file.next();
        if (!frame) {
            _atEnd = true;
            return false;
        }
        const qint64 decoded = numberOf(frame);
        if (_runStart < 0) _runStart = _runEnd = decoded;
        _runEnd = std::max(_runEnd, decoded);
        if (decoded + qint64(_limit) <= number) continue; // it would be forgotten again at once
        keep(frame, decoded);
        forgetFarFrom(number);
    }
    return true;
}

bool QmxForeignPictures::seekTo(qint64 number)
{
    const auto begin = [this] {
        _runStart = _runEnd = -1;
        _atEnd = false;
    };
    for (double before : retries) {
        const qint64 target = number - qint64(before * _desc.frameRate().toDouble());
        if (target < 0) break;
        begin();
        if (!_file.seek(timestampOf(target))) break;
        decodeTo(number);
        if (_runStart >= 0 && _runStart <= number) return true;
    }
    begin();
    _file.rewind();
    decodeTo(number);
    return _runStart >= 0;
}

QmxError QmxForeignPictures::read(qint64 number, QmxImage &image)
{
    const QmxImage *found = kept(number);
    if (!found) {
        const auto noted = _file.decoding();
        if (_runStart >= 0 && number > _runEnd && number - _runEnd <= maxForward && !_atEnd)
            decodeTo(number);
        else if (!_atEnd || number <= _runEnd || _runStart < 0)
            seekTo(number);
        found = kept(number);
    }
    if (const int reason = _file.takeError(); reason != 0) {
        // Another try begins anew.
        _runStart = _runEnd = -1;
        _atEnd = false;
        if (!found)
            return {reason,
                    QStringLiteral("Cannot read clip %1: %2").arg(_path, QmxError(reason).toString())};
    }
    // Before the first picture that could be decoded that one is shown.
    if (!found && _runStart > number && _kept.contains(_runStart)) found = &_kept[_runStart];
    if (!found)
        return {EILSEQ, QStringLiteral("Picture %1 of clip %2 cannot be decoded").arg(number).arg(_path)};
    image = *found;
    return {};
}
