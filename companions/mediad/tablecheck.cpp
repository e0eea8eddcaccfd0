// SPDX-License-Identifier: GPL-3.0-or-later
#include "companions/mediad/tablecheck.h"

#include "platform/store/eparam.h"

#include <algorithm>

namespace {

/// A daemon that begins takes away the alarms of the one before.
constexpr std::int64_t startTime = 1'000'000'000;

constexpr const char *words = "The look-up table ";

} // namespace

bool TableCheck::isAbout(eParam_t id)
{
    return id == eParam_LutPosition || id == eParam_LutFile;
}

std::vector<MediaWrite> TableCheck::step(std::int64_t now, int recorder,
                                         const std::function<Setting()> &setting)
{
    const bool hasBegun = recorder != 0 && recorder != _recorder;
    _recorder = recorder;
    if (_written.exchange(false) || hasBegun) {
        const Setting is = setting();
        _missing = recorder != 0 && is.isOn && !is.isThere ? is.path : std::string();
        _tellAt = hasBegun ? now + startTime : std::max(_tellAt.value_or(now), now);
    }
    if (!_tellAt || now < *_tellAt) return {};
    _tellAt.reset();
    if (!_missing.empty())
        return {{eParam_AlarmLutError, MediaWrite::RaiseAlarm, 0,
                 words + _missing +
                     " is not there: from the recorder's next start on, at the latest, pictures are without "
                     "it; put it back, then set lut_position to off and back, or choose another table"}};
    // What the transport says of a table is its own to clear.
    const bool isOurs = setting().alarm.starts_with(words);
    if (!isOurs) return {};
    return {{eParam_AlarmLutError, MediaWrite::ClearAlarm, 0, {}}};
}
