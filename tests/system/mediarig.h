// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "tests/system/sandbox.h"

/// Clips of one take in their order, as ffmpeg decodes them: pictures, timecodes and sound (to the sample) go
/// on from clip to clip. Empty when they do, else where they break. `frames` gets the number of each.
QString brokenTake(const QStringList &clips, int rateNum, int rateDen, QList<int> *frames = nullptr);
