// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/clip/qmxclipinfo.h"
#include "platform/qmx/core/qmxenvironment.h"

#include <QFileInfo>
#include <QJsonObject>

/// What a clip is, for programs: the fields of `xpctl --json info`. Asks the file system.
QJsonObject describeClip(const QFileInfo &file, const QmxClipInfo &info, const QmxEnvironment &environment);
/// A time as all descriptions of clips have it, with the offset of this machine.
QString clipDate(const QDateTime &time);
