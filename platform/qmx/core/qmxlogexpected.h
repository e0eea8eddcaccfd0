// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

struct QmxLogRecord;

/// Records of `source` that begin with `start` and hold `part` are expected on every machine: file and
/// console get them from level 3 on, whatever their own level is, so that a healthy start shows no error.
/// Taps see them as they are. Literals; before others log, on one thread.
void qmxLogExpect(const char *source, const char *start, const char *part);
bool qmxLogIsExpected(const QmxLogRecord &record);
