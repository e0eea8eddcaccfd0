// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/codec/qmxlibav.h"

#include <QString>

/// One stream of a foreign file, demultiplexed and decoded in order. Opens local files only, whatever a file
/// may refer to. One thread at a time.
class QmxForeignFile
{
public:
    QmxForeignFile() = default;
    ~QmxForeignFile();
    QmxForeignFile(const QmxForeignFile &) = delete;
    QmxForeignFile &operator=(const QmxForeignFile &) = delete;

    /// EILSEQ when it is no media file, ENODATA without such a stream, ENOTSUP without a decoder.
    QmxError open(const QString &path, AVMediaType type);

    AVFormatContext *format() const { return _format; }
    AVStream *stream() const { return _stream; }
    AVCodecContext *decoder() const { return _decoder.get(); }

    /// The next decoded frame; null at the end. Damaged packets are passed over.
    const AVFrame *next();
    /// To the last entry point at or before `timestamp` (in the stream's time base).
    bool seek(qint64 timestamp);
    /// To the very first packet.
    void rewind();

private:
    AVFormatContext *_format = nullptr;
    AVStream *_stream = nullptr;
    QmxLibav::CodecContext _decoder;
    QmxLibav::Packet _packet;
    QmxLibav::Frame _frame;
    bool _draining = false;
};
