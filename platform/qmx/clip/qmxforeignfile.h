// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/clip/decodingmark.h"
#include "platform/qmx/clip/qmxforeignio.h"

#include <QString>

/// One stream of a foreign file, demultiplexed and decoded in order. One thread at a time.
class QmxForeignFile
{
public:
    explicit QmxForeignFile(const QmxEnvironment &environment) : _io(environment) {}
    ~QmxForeignFile();
    QmxForeignFile(const QmxForeignFile &) = delete;
    QmxForeignFile &operator=(const QmxForeignFile &) = delete;

    /// Errno of the medium, EILSEQ when it is no media file, ENODATA without such a stream, ENOTSUP without a
    /// decoder.
    QmxError open(const QString &path, AVMediaType type);

    /// Only what stands in its tables: format() alone is there then. Errors: as of open().
    QmxError openTables(const QString &path);

    AVFormatContext *format() const { return _format; }
    AVStream *stream() const { return _stream; }
    AVCodecContext *decoder() const { return _decoder.get(); }

    /// The next decoded frame; null at the end, or when the medium fails: see takeError(). Damaged packets
    /// are passed over.
    const AVFrame *next();
    /// To the last entry point at or before `timestamp` (in the stream's time base).
    bool seek(qint64 timestamp);
    /// To the very first packet.
    void rewind();
    /// To be held while pictures or sound are asked for.
    [[nodiscard]] DecodingMark::Standing decoding() { return DecodingMark::Standing(_mark); }
    /// The medium's last error since it was asked for; 0: none.
    int takeError() { return _io.takeError(); }

private:
    QmxError openAs(const QString &path, AVMediaType type);

    DecodingMark _mark;
    QmxForeignIo _io; ///< first: the context reads through it
    AVFormatContext *_format = nullptr;
    AVStream *_stream = nullptr;
    QmxLibav::CodecContext _decoder;
    QmxLibav::Packet _packet;
    QmxLibav::Frame _frame;
    bool _draining = false;
    bool _isFromStart = false; ///< what comes next, or has come, comes from the start without a gap
    qint64 _decoded = 0;
};
