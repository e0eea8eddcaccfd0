// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

#include <span>

struct AVCodec;

/// How an output codes pictures or sound: a row for each value of the keys "codec" and "audio".
struct QmxOutputCodecRow
{
    const char *name; ///< "h264"
    const char *help;
    bool isVideo;
    int codecId;         ///< libav's
    const char *encoder; ///< libav's name of the coder that is taken
    /// Bits for each pixel of each frame (video), bits a second (sound), when no rate is asked for.
    double rate;
};

std::span<const QmxOutputCodecRow> qmxOutputCodecs();
/// The coder of a row; null: this machine's libavcodec lacks it.
const AVCodec *qmxFindEncoder(const QmxOutputCodecRow &row);

/// What the locator of an output says about its coding: "udp://host:port?codec=h264&bitrate=8M", and the
/// address that is left when these keys are taken out. A value.
struct QmxOutputOptions
{
    QString address;
    const QmxOutputCodecRow *video = nullptr; ///< null: what suits the container
    const QmxOutputCodecRow *audio = nullptr;
    qint64 videoRate = 0; ///< bits a second; 0: what suits the format
    qint64 audioRate = 0;
    int channels = 2;        ///< of sound, in tracks of two: the first ones of the output
    bool isListener = false; ///< waits for a caller
    QString problem;         ///< not empty: the locator makes no sense, and why

    /// Keys of a network address only; a file's path and a window's title stay as they are.
    static QmxOutputOptions parse(const QString &locator);
};
