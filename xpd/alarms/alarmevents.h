// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <span>
#include <string>

/// The attributes of an alarm parameter that an event of the transport answers to.
struct AlarmEvent
{
    const char *clearAttribute;
    const char *raiseAttribute;
};

inline constexpr AlarmEvent playPressed{"clear_on_play_pressed", "raise_on_play_pressed"};
inline constexpr AlarmEvent stopPressed{"clear_on_stop_pressed", "raise_on_stop_pressed"};
inline constexpr AlarmEvent recordPressed{"clear_on_record_pressed", "raise_on_record_pressed"};
inline constexpr AlarmEvent playback{"clear_on_playback", "raise_on_playback"};
inline constexpr AlarmEvent record{"clear_on_record", "raise_on_record"};
inline constexpr AlarmEvent standbyOff{"clear_on_standby_off", "raise_on_standby_off"};

/// The attributes that hold an alarm back until an event. No event raises "raise_on_standby": an
/// alarm that carries only that one is kept and never shown.
std::span<const std::string> alarmDelayAttributes();
