// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "tests/system/sandbox.h"

/// Shell functions for scripts that move media about, and an independent look at a take that lies in several
/// clips.
///
///     await CONDITION            until it holds, at most 60 s; then the logs, and status 9
///     fill PERCENT MEDIUM        leaves that much of it free (in whole percent, as the transport rounds)
///     plug NAME [SIZE]           a further medium at /media/NAME;   shut MEDIUM   its file system breaks
///     down slow NAME; hold NAME "CALL MS"   one whose calls take as long as one says (see tests/slowfs)
///     recorded, is NAME VALUE, kill_mediad, restart_mediad, say NAME
extern const char *const mediaScript;

/// What the script printed behind "say NAME".
QByteArray said(const QByteArray &out, const QByteArray &name);

/// Runs a script behind `mediaScript`; fails the test when it does not end with 0.
ProgramResult runMedia(Sandbox &sandbox, const QString &script);

/// Clips of one take in their order, as ffmpeg decodes them: pictures, timecodes and sound (to the sample) go
/// on from clip to clip. Empty when they do, else where they break. `frames` gets the number of each.
QString brokenTake(const QStringList &clips, int rateNum, int rateDen, QList<int> *frames = nullptr);
