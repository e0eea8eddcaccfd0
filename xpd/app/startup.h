// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

class QTextStream;

/// Looks `key` up among the words of the kernel's command line. True when it is there; `value` (may be
/// null) then becomes what follows the first "=", nothing when there is none. The first such word wins.
bool readKernelCmdLine(const QString &key, QString *value);
/// The same on any text of words separated by white space.
bool findKernelWord(QTextStream &text, const QString &key, QString *value);

/// The share of the system's memory that is reserved for pictures, in bytes.
quint64 memoryPoolSize(quint64 totalBytes);
