// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/codec/qmxpicture.h"
#include "platform/qmx/core/qmxaudio.h"

#include <QtGlobal>

#include <optional>

/// The machine-readable strip: a row of black and white cells near the top of every generated picture that
/// carries the frame count (32 bits) and a checksum, sized so that it survives ProRes and 4:2:0 coding and
/// both fields of an interlaced picture carry it whole. It proves which exact frame one sees.
///
/// An audio mark stands with it: a short burst whose first sample is the first sample of every frame whose
/// count is a multiple of QmxStrip::markInterval.
namespace QmxStrip {
constexpr int markInterval = 10;

void draw(QmxPicture &picture, quint32 count);
/// The count of a decoded picture; nothing when there is no strip or its checksum is wrong (a torn or
/// damaged picture). For interlaced pictures both fields must agree.
std::optional<quint32> read(const QmxPicture &picture);
/// The same from 8-bit luma rows (a picture that another program decoded), `stride` in bytes.
std::optional<quint32> readLuma8(const uchar *luma, int width, int height, qsizetype stride);

/// Overwrites the first samples of a frame's audio with the mark, in the first `channels` channels.
void drawMark(QmxAudio &audio, int channels);
/// Position of the first sample of the first mark in one channel of interleaved 32-bit samples; -1: none.
/// Lossy coding moves it by less than a millisecond.
int findMark(const qint32 *samples, int count, int channels, int channel = 0);
} // namespace QmxStrip
