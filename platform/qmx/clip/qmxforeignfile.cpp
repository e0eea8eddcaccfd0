// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/clip/qmxforeignfile.h"

#include <QFile>

#include <cerrno>

namespace {
constexpr int decoderThreads = 2;
/// So many damaged packets one after the other end a file.
constexpr int maxBadPackets = 500;
/// What clips come in, as libavformat names it. All else that it knows it guesses from a few bytes: one in a
/// hundred files of noise would be H.263 to it.
constexpr const char *containers = "mov,matroska,avi,mxf,mpegts";
/// What may be read of a file to open it, and then to find out what its streams are. What is read first is
/// kept, and a few bytes with holes between them can tell of any amount; the tables of a day have a hundred
/// MiB.
constexpr qint64 mostForTables = qint64(256) << 20;
constexpr qint64 mostForProbing = qint64(512) << 20;
/// Of what the decoders are set up with, for all streams: it is copied several times.
constexpr qint64 mostForDecoders = qint64(16) << 20;

/// Fonts, covers and the like are in nobody's way, but would be copied with every stream.
bool dropAttached(AVFormatContext *format)
{
    qint64 kept = 0;
    for (unsigned i = 0; i < format->nb_streams; ++i) {
        AVCodecParameters *parameters = format->streams[i]->codecpar;
        if (parameters->codec_type == AVMEDIA_TYPE_ATTACHMENT) {
            av_freep(&parameters->extradata);
            parameters->extradata_size = 0;
        }
        kept += parameters->extradata_size;
        kept += format->streams[i]->attached_pic.size;
    }
    return kept <= mostForDecoders;
}

int openContainer(AVFormatContext *&format, const QString &path)
{
    format->format_whitelist = av_strdup(containers);
    if (!format->format_whitelist) return AVERROR(ENOMEM);
    const int result = avformat_open_input(&format, QFile::encodeName(path).constData(), nullptr, nullptr);
    return result == AVERROR(EINVAL) ? AVERROR_INVALIDDATA : result; // of another kind
}

/// Why no sense is found in a file. Where a film of the commonest family begins well, its end is missing.
QString whyInvalid(const QmxForeignIo &file, int result)
{
    if (result != AVERROR_INVALIDDATA && result != AVERROR_EOF) return QmxLibav::errorText(result);
    if (file.size() == 0) return QStringLiteral("it is empty");
    constexpr qsizetype boxAt = 4;
    constexpr qsizetype boxSize = 4;
    const QByteArray box = file.head(boxAt + boxSize).mid(boxAt);
    const bool isFilm = box == "ftyp" || box == "wide" || box == "mdat" || box == "free";
    return isFilm ? QStringLiteral("it is cut off before its index")
                  : QStringLiteral("it is no kind of clip that is known");
}
} // namespace

QmxForeignFile::~QmxForeignFile()
{
    if (_decoded > 0) {
        // Its threads may still be at what was read ahead.
        const auto noted = decoding();
        _decoder.reset();
    }
    avformat_close_input(&_format);
}

QmxError QmxForeignFile::openTables(const QString &path)
{
    QmxError error = openAs(path, AVMEDIA_TYPE_UNKNOWN);
    if (!error.isError()) _mark.end();
    return error;
}

/// `type` unknown: nothing is decoded.
QmxError QmxForeignFile::openAs(const QString &path, AVMediaType type)
{
    QmxLibav::quietLog();
    const bool isDecoded = type != AVMEDIA_TYPE_UNKNOWN;
    const char *part = !isDecoded ? "tables" : type == AVMEDIA_TYPE_AUDIO ? "sound" : "pictures";
    int reason = 0;
    _format = _io.open(path, reason);
    if (!_format)
        return {reason, QStringLiteral("Cannot open clip %1: %2").arg(path, QmxError(reason).toString())};
    if (QmxError fatal = _mark.begin(path, _io.size(), _io.changed(), part); fatal.isError()) return fatal;
    _io.allow(mostForTables);
    int result = openContainer(_format, path);
    bool isTooMuch = result >= 0 && !dropAttached(_format);
    _io.allow(mostForProbing);
    if (result >= 0 && isDecoded && !isTooMuch) result = avformat_find_stream_info(_format, nullptr);
    isTooMuch = isTooMuch || _io.isExhausted();
    _io.allow(QmxForeignIo::unlimited);
    if ((reason = _io.takeError()) != 0)
        return {reason, QStringLiteral("Cannot read clip %1: %2").arg(path, QmxError(reason).toString())};
    if (isTooMuch)
        return {EILSEQ,
                QStringLiteral("Clip %1 is not opened: what it holds before its first picture would take "
                               "too much memory; it is damaged, or copy its pictures and sound into a "
                               "new file")
                    .arg(path)};
    if (result < 0)
        return {EILSEQ,
                QStringLiteral("%1 is no clip that can be played: %2").arg(path, whyInvalid(_io, result))};
    return {};
}

QmxError QmxForeignFile::open(const QString &path, AVMediaType type)
{
    if (QmxError error = openAs(path, type); error.isError()) return error;
    const AVCodec *codec = nullptr;
    const int index = av_find_best_stream(_format, type, -1, -1, &codec, 0);
    if (index == AVERROR_DECODER_NOT_FOUND)
        return {ENOTSUP, QStringLiteral("Nothing can decode clip %1").arg(path)};
    if (index < 0)
        return {
            ENODATA,
            QStringLiteral("Clip %1 has no %2").arg(path, type == AVMEDIA_TYPE_VIDEO ? "pictures" : "sound")};
    _stream = _format->streams[index];
    for (unsigned i = 0; i < _format->nb_streams; ++i)
        if (int(i) != index) _format->streams[i]->discard = AVDISCARD_ALL;

    _decoder.reset(avcodec_alloc_context3(codec));
    _packet.reset(av_packet_alloc());
    _frame.reset(av_frame_alloc());
    if (!_decoder || !_packet || !_frame)
        return {ENOMEM, QStringLiteral("No memory is left to open clip %1").arg(path)};
    avcodec_parameters_to_context(_decoder.get(), _stream->codecpar);
    _decoder->thread_count = decoderThreads;
    _decoder->pkt_timebase = _stream->time_base;
    if (avcodec_open2(_decoder.get(), codec, nullptr) < 0)
        return {ENOTSUP, QStringLiteral("Nothing can decode clip %1").arg(path)};
    _isFromStart = true;
    _mark.end();
    return {};
}

const AVFrame *QmxForeignFile::next()
{
    for (int bad = 0; bad < maxBadPackets;) {
        const int received = avcodec_receive_frame(_decoder.get(), _frame.get());
        if (received == 0) {
            _mark.decoded(++_decoded, false);
            return _frame.get();
        }
        if (received == AVERROR_EOF) _mark.decoded(_decoded, _isFromStart);
        if (received == AVERROR_EOF || (_draining && received == AVERROR(EAGAIN))) return nullptr;
        if (received != AVERROR(EAGAIN)) {
            ++bad;
            continue;
        }
        const int read = av_read_frame(_format, _packet.get());
        if (read < 0) {
            _draining = true;
            avcodec_send_packet(_decoder.get(), nullptr);
            continue;
        }
        if (_packet->stream_index == _stream->index && avcodec_send_packet(_decoder.get(), _packet.get()) < 0)
            ++bad;
        av_packet_unref(_packet.get());
    }
    return nullptr;
}

bool QmxForeignFile::seek(qint64 timestamp)
{
    _draining = _isFromStart = false;
    const bool done = av_seek_frame(_format, _stream->index, timestamp, AVSEEK_FLAG_BACKWARD) >= 0;
    avcodec_flush_buffers(_decoder.get());
    return done;
}

void QmxForeignFile::rewind()
{
    // By bytes where that is possible: by time some files only find their second entry point.
    const bool byTime = _format->iformat->flags & AVFMT_NO_BYTE_SEEK;
    if (byTime || av_seek_frame(_format, -1, 0, AVSEEK_FLAG_BYTE) < 0)
        av_seek_frame(_format, _stream->index, 0, AVSEEK_FLAG_BACKWARD);
    avcodec_flush_buffers(_decoder.get());
    _draining = false;
    _isFromStart = true;
}
