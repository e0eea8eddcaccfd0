// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/clip/qmximagesequence.h"

#include "platform/qmx/core/qmxids.h"

#include <QDir>
#include <QFileInfo>
#include <QRegularExpression>

#include <cerrno>
#include <cmath>
#include <cstring>
#include <fcntl.h>

namespace {
constexpr int maxSide = 8192;
constexpr qint64 maxBytes = qint64(512) << 20; ///< of one picture's file
/// More missing numbers than this for each picture, and they are not numbers of a sequence.
constexpr qint64 mostMissing = 10;

struct Kind
{
    const char *ending;
    AVCodecID codec;
};

constexpr Kind kinds[] = {
    {"dpx", AV_CODEC_ID_DPX},   {"png", AV_CODEC_ID_PNG},   {"tif", AV_CODEC_ID_TIFF},
    {"tiff", AV_CODEC_ID_TIFF}, {"jpg", AV_CODEC_ID_MJPEG}, {"jpeg", AV_CODEC_ID_MJPEG},
    {"tga", AV_CODEC_ID_TARGA}, {"bmp", AV_CODEC_ID_BMP},
};

AVCodecID codecOf(const QString &ending)
{
    for (const Kind &kind : kinds)
        if (ending == QLatin1String(kind.ending)) return kind.codec;
    return AV_CODEC_ID_NONE;
}

/// The rate that a number means: 23.98 is 24000/1001.
QmxVideoRate rateOf(double value)
{
    constexpr int exact = 1000;
    constexpr double near = 0.011;
    for (const int whole : {24, 30, 48, 60, 120})
        if (std::abs(value - whole * exact / 1001.0) < near) return QmxVideoRate(whole * exact, 1001);
    if (!(value >= 1 && value <= 240)) return {};
    return QmxVideoRate(int(std::lround(value * exact)), exact);
}

QmxVideoRate rateInName(const QString &folder)
{
    static const QRegularExpression form(QStringLiteral("@(\\d+(?:\\.\\d+)?)\\.images$"),
                                         QRegularExpression::CaseInsensitiveOption);
    return rateOf(form.match(folder).captured(1).toDouble());
}
} // namespace

QmxImageSequence::~QmxImageSequence()
{
    if (_fd >= 0) _environment.files->close(_fd);
}

bool QmxImageSequence::isFolder(const QString &path, QmxFiles &files)
{
    struct stat64 data = {};
    if (files.stat(path, &data) != 0 || !S_ISDIR(data.st_mode)) return false;
    const int fd = files.open(path, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    // One that cannot be opened for another reason is one all the same: what opens it says why.
    const bool isLink = fd < 0 && (errno == ENOTDIR || errno == ELOOP);
    if (fd >= 0) files.close(fd);
    return !isLink;
}

QmxError QmxImageSequence::open(const QString &folder)
{
    QmxLibav::quietLog();
    _folder = folder;
    QmxError error = openFolder();
    if (!error.isError()) error = findFiles();
    if (!error.isError()) error = openDecoder(codecOf(QFileInfo(_files.begin()->second).suffix().toLower()));
    if (!error.isError()) error = decode(_files.begin()->second);
    if (!error.isError()) error = describe();
    _mark.end();
    return error;
}

QmxError QmxImageSequence::openFolder()
{
    if (_fd >= 0) _environment.files->close(_fd);
    _fd = _environment.files->open(_folder, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (_fd < 0) {
        const int reason = errno;
        return {reason,
                QStringLiteral("Cannot open folder %1: %2").arg(_folder, QmxError(reason).toString())};
    }
    _inside = QStringLiteral("/proc/self/fd/%1/").arg(_fd);
    struct stat64 data = {};
    if (_environment.files->fstat(_fd, &data) != 0) return QmxError(errno);
    return _mark.begin(_folder, data.st_size,
                       data.st_mtim.tv_sec * QmxClock::nsPerSecond + data.st_mtim.tv_nsec);
}

QString QmxImageSequence::codecName() const
{
    return _decoder ? QString::fromLatin1(avcodec_get_name(_decoder->codec_id)) : QString();
}

QmxError QmxImageSequence::findFiles()
{
    static const QRegularExpression form(QStringLiteral("^([^.].*?|)(\\d{1,9})\\.([A-Za-z]+)$"));
    std::map<QString, std::map<qint64, QString>> runs; // by name and kind
    for (const QString &name : QDir(_inside).entryList(QDir::Files | QDir::NoSymLinks)) {
        const QRegularExpressionMatch match = form.match(name);
        const QString ending = match.captured(3).toLower();
        if (match.hasMatch() && codecOf(ending) != AV_CODEC_ID_NONE)
            runs[match.captured(1) + QLatin1Char('/') + ending][match.captured(2).toLongLong()] = name;
    }
    _files.clear();
    for (auto &[name, run] : runs)
        if (run.size() > _files.size()) _files = std::move(run);
    if (_files.empty())
        return {EILSEQ, QStringLiteral("%1 holds no numbered pictures such as shot_0001.dpx").arg(_folder)};
    _count = _files.rbegin()->first - _files.begin()->first + 1;
    if (_count > mostMissing * qint64(_files.size()))
        return {EILSEQ,
                QStringLiteral("The pictures in %1 are numbered with gaps that are too large").arg(_folder)};
    return {};
}

QmxError QmxImageSequence::openDecoder(int id)
{
    const AVCodec *codec = avcodec_find_decoder(AVCodecID(id));
    _decoder.reset(codec ? avcodec_alloc_context3(codec) : nullptr);
    // Each picture comes out before the next goes in.
    if (_decoder) _decoder->thread_type = FF_THREAD_SLICE;
    if (!_decoder || avcodec_open2(_decoder.get(), codec, nullptr) < 0)
        return {ENOTSUP, QStringLiteral("Nothing can decode the pictures in %1").arg(_folder)};
    return {};
}

QmxError QmxImageSequence::readBytes(const QString &file, QByteArray &bytes) const
{
    QmxFiles &files = *_environment.files;
    const int fd = files.open(_inside + file, O_RDONLY | O_CLOEXEC);
    struct stat64 data = {};
    int reason = fd < 0 || files.fstat(fd, &data) != 0 ? errno : 0;
    if (reason == 0 && (!S_ISREG(data.st_mode) || data.st_size > maxBytes)) reason = EILSEQ;
    if (reason == 0) bytes.resize(data.st_size + AV_INPUT_BUFFER_PADDING_SIZE);
    qint64 done = 0;
    while (reason == 0 && done < data.st_size) {
        const ssize_t got = files.pread(fd, bytes.data() + done, size_t(data.st_size - done), done);
        if (got <= 0) reason = got < 0 ? errno : EILSEQ;
        done += std::max<ssize_t>(got, 0);
    }
    if (fd >= 0) files.close(fd);
    if (reason != 0)
        return {
            reason,
            QStringLiteral("Cannot read picture %1/%2: %3").arg(_folder, file, QmxError(reason).toString())};
    std::memset(bytes.data() + done, 0, AV_INPUT_BUFFER_PADDING_SIZE);
    return {};
}

QmxError QmxImageSequence::decode(const QString &file)
{
    QByteArray bytes;
    QmxError error = readBytes(file, bytes);
    if (error.isError()) return error;
    if (!_packet || !_frame) return {ENOMEM, QStringLiteral("No memory is left to read %1").arg(_folder)};
    av_packet_unref(_packet.get());
    av_frame_unref(_frame.get());
    // The bytes stay ours and live until the picture has come out.
    _packet->data = reinterpret_cast<uint8_t *>(bytes.data());
    _packet->size = int(bytes.size() - AV_INPUT_BUFFER_PADDING_SIZE);
    _packet->flags = AV_PKT_FLAG_KEY;
    int result = avcodec_send_packet(_decoder.get(), _packet.get());
    if (result >= 0) result = avcodec_receive_frame(_decoder.get(), _frame.get());
    if (result == AVERROR(EAGAIN)) {
        // Some only give it when told that no other comes.
        avcodec_send_packet(_decoder.get(), nullptr);
        result = avcodec_receive_frame(_decoder.get(), _frame.get());
    }
    avcodec_flush_buffers(_decoder.get());
    _packet->data = nullptr;
    _packet->size = 0;
    if (result < 0 || _frame->width < 2 || _frame->height < 2 || _frame->width > maxSide ||
        _frame->height > maxSide)
        return {EILSEQ, QStringLiteral("Picture %1/%2 cannot be decoded").arg(_folder, file)};
    return {};
}

QmxError QmxImageSequence::describe()
{
    QmxVideoRate rate = rateInName(_folder);
    const AVRational told = _decoder->framerate;
    if (!rate.isValid() && told.num > 0 && told.den > 0) rate = rateOf(av_q2d(told));
    _desc.setSize(_frame->width & ~1, _frame->height);
    _desc.setAspectRatio(_desc.width(), _desc.height());
    _desc.setFrameRate(rate.isValid() ? rate : QmxVideoRate(25));
    _desc.setScanMode(QmxImageDesc::Progressive);
    _desc.setDataType(QmxIds::uncompressed10);
    const QmxCodecRow *codec = qmxCodec(_desc.dataType());
    if (codec) _encoder = codec->createEncoder(_desc);
    if (!_encoder) return {ENOTSUP, QStringLiteral("Nothing can hold the pictures of %1").arg(_folder)};
    return {};
}

QmxError QmxImageSequence::read(qint64 number, QmxImage &image)
{
    const DecodingMark::Standing noted(_mark);
    // Not before the first, so that there is one.
    const auto file = std::prev(_files.upper_bound(_files.begin()->first + std::max<qint64>(number, 0)));
    QmxError error = decode(file->second);
    if (error.isError()) return error;
    _mark.decoded(++_decoded, false);
    const QmxPicture picture =
        _converter.convert(_frame.get(), QmxPicture::Format::Yuv422P10, QSize(_desc.width(), _desc.height()));
    QmxBuffer coded;
    if (!picture.isValid() || _encoder->encode(picture, coded).isError())
        return {ENOMEM, QStringLiteral("No picture memory is left to read %1").arg(_folder)};
    image = QmxImage(_desc, {coded});
    return {};
}
