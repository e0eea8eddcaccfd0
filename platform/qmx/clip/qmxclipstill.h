// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxenvironment.h"

#include <QByteArray>
#include <QString>

/// Small pictures of clips, as JPEG.
namespace QmxClipStill {
constexpr int width = 192;
/// A little behind the beginning, where fades have ended.
constexpr qint64 aTenth = -1;

/// The picture of one frame; empty when there is no such frame or it cannot be decoded. Reads and decodes no
/// more than that one. Blocks on the medium; any thread.
QByteArray make(const QString &clip, qint64 frame, const QmxEnvironment &environment);
} // namespace QmxClipStill
