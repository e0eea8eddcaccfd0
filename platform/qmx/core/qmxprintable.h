// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

/// Text from outside as a log, a terminal or an answer may carry it: a control character (with DEL and those
/// of C1, which terminals obey too) becomes '?', a line end a blank, and what is longer than `longest`
/// characters is cut.
QString qmxPrintable(QString text, qsizetype longest = 4096);
