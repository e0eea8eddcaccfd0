// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/codec/qmxpicture.h"

/// White text on black, centred, at legal levels; the letters are built of blocks an even number of lines
/// high, so that no detail stands in one field alone. Knows the letters of "LOSS OF VIDEO". Not valid: the
/// picture pool is exhausted.
QmxPicture drawStill(QmxPicture::Format format, const QSize &size, const char *text);
