// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

/// Bytes a second that a take can come to, sound included: what the codec aims at for a picture full of
/// detail. `codec` is a value of record_codec, `format` a label of record_format ("1080p29.97"). 0: not
/// known.
double nominalRate(unsigned codec, const std::string &format, int audioChannels);
