// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmximagedesc.h"

// Codes of picture formats, as the configuration parameters hold them, and image descriptions.

/// The picture of a signal-generator format; a default description for an unknown code.
QmxImageDesc sigGenFormatToImgDesc(int code);

/// The code of a description by size, scan mode and truncated frame rate; 1, with a level 2 record, when
/// there is none.
int imageDescToInputFormat(const QmxImageDesc &desc);
int imageDescToMediaFormat(const QmxImageDesc &desc);
int imageDescToRecordFormat(const QmxImageDesc &desc);

/// The code of an input of variable frame rate in place of `format`. `vfrfps` is the input's rate code, not
/// 0. The codes of the two columns differ in more than an offset.
int variableRateRecordFormat(int width, int vfrfps, int format);
int variableRateMediaFormat(int width, int vfrfps, int format);
