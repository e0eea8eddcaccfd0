// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/control/answer.h"
#include "platform/store/paramdescriptor.h"

#include <optional>

class Recorder;

/// Nothing, or why the recorder could do nothing with a value that the parameter's form allows: a folder that
/// is no medium, a clip that is not there, a place beyond the list. Asks the disk.
std::optional<Answer> uselessValue(Recorder &recorder, const ParamDescriptor &descriptor,
                                   const StoreValue &value);
/// Sets a parameter as every front does it: not to a useless value (unless with `force`), and whoever has to
/// be told is told. Done, or refused with nothing changed.
Answer setParameter(Recorder &recorder, const ParamDescriptor &descriptor, const StoreValue &value,
                    bool force = false);
