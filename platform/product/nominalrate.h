// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmximagedesc.h"

#include <optional>
#include <string>

/// Pictures of a take: `codec` is a value of record_codec, `format` a label of record_format ("1080p29.97").
/// Nothing: not known. The scan is left out.
std::optional<QmxImageDesc> recordedFormat(unsigned codec, const std::string &format);

/// Bytes a second that a take can come to, sound included: what the codec aims at for a picture full of
/// detail. `codec` is a value of record_codec, `format` a label of record_format ("1080p29.97"). 0: not
/// known.
double nominalRate(unsigned codec, const std::string &format, int audioChannels);
