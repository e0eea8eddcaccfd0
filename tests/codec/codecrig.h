// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/codec/qmxvideocodec.h"
#include "tests/support/testfiles.h"

QmxImageDesc makeDesc(const QmxCodecRow &row, int width, int height, int scanMode);
/// Hills with grain; `phase` makes a picture unlike the others.
QmxPicture makeTexture(QmxPicture::Format format, const QSize &size, int phase, quint32 grain = 16);
/// In dB, over all samples of two pictures of one format.
double psnr(const QmxPicture &a, const QmxPicture &b);
/// One coded frame in a QuickTime file, by libavformat.
void writeMovie(const QString &path, const QmxCodecRow &row, const QSize &size, const QmxBuffer &coded);
/// ffmpeg's name of a format, and the bytes of a picture as ffmpeg has them.
const char *programFormat(QmxPicture::Format format);
/// What the ffmpeg program decodes from a file's first picture.
QmxPicture decodeByProgram(const TestDir &dir, const QString &movie, QmxPicture::Format format,
                           const QSize &size);
