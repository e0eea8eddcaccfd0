// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

struct QmxLogRecord;

/// Whether the transport logs such a line, with these words and at this level. (Lines for what can never
/// happen are none.)
bool isTransportLine(const QmxLogRecord &record);
