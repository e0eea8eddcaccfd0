// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxaudio.h"
#include "platform/qmx/core/qmxvideostate.h"

#include <QSize>
#include <QString>

/// Video formats as an input sees them: which ones can be recorded, and how they are written. All
/// functions are pure; any thread.
namespace QmxSourceFormat {

/// "25", "29.97", "23.98", "23.976", "60000/1001" ...; not valid when it is none.
QmxVideoRate rateFromText(const QString &text);
/// The rate of the standards that a measured one means (within a thousandth of it, so that 29.97 and 30
/// stay apart), else the measured one as QmxVideoRate::stated() has it.
QmxVideoRate rateFromMeasurement(qint64 num, qint64 den);
/// Class of the rate that a variable-rate signal carries: 1 for 23.98, 2 24, 3 25, 4 29.97, 5 30; 0: another.
int variableRateClass(const QmxVideoRate &rate);
/// "1920x1080"; empty when it is none.
QSize sizeFromText(const QString &text);
/// "p", "i", "psf" as QmxImageDesc::ScanMode; -1 when it is none.
int scanModeFromText(const QString &text);
/// "1280x720p50", "720x486i29.97", "1920x1080psf23.98"; not valid when it is none.
QmxImageDesc fromText(const QString &text);

/// The description of a signal: square pixels but in standard definition (4:3), 10-bit 4:2:2.
QmxImageDesc desc(const QSize &size, const QmxVideoRate &rate, int scanMode);
/// One of the formats that the recorder records.
bool isRecordable(const QmxImageDesc &desc);
/// The recordable format that comes nearest: size first, then scan mode, then rate.
QmxImageDesc nearest(const QmxImageDesc &desc);
/// What an input with this signal reports: valid; a format that cannot be recorded has the inhibit 2002
/// and the nearest one as capture format.
QmxVideoState state(const QmxImageDesc &desc);

/// Sixteen channels of 48 kHz: what every source delivers.
constexpr int audioChannels = 16;
QmxAudioDesc audioDesc(const QmxVideoRate &rate);
} // namespace QmxSourceFormat
