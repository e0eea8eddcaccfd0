// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <type_traits>

/// Values of parameters that programs act on, and limits that more than one of them keeps. The rows of the
/// parameter table are written with them; what a program only passes on (formats, levels of sound) has its
/// numbers there alone.

/// Everything but ShutDown is what the key of this name does.
enum class TransportCommand : unsigned {
    Play = 1,
    Record = 3,
    Stop = 4,
    FastForward = 5,
    Rewind = 6,
    StepForward = 7,
    StepBack = 8,
    NextClip = 9,
    PreviousClip = 10,
    ShutDown = 15,
};

enum class TransportStatus : unsigned {
    None = 0, ///< never told
    Stopped = 1,
    Recording = 2,
    Playing = 3, ///< at 1 or slower
    ForwardFast = 4,
    Forward4 = 5,
    Forward8 = 6,
    Forward16 = 7,
    Reverse = 9,
    ReverseFast = 10,
    Reverse4 = 11,
    Reverse8 = 12,
    Reverse16 = 13,
    Still = 15,
    ShutDown = 20,
};

/// Whether a picture after the other is shown: at any speed, but not in still.
constexpr bool isPlaying(TransportStatus status)
{
    return status != TransportStatus::Stopped && status != TransportStatus::Recording &&
           status != TransportStatus::Still && status != TransportStatus::ShutDown;
}

enum class StorageState : unsigned {
    Unknown = 0,
    InUse = 1,
    Released = 2,
    RolloverDone = 3, ///< in use as well, on the next medium
};

/// Of record_format: the others are formats.
enum class RecordFormat : unsigned { None = 0, Unknown = 1, NotRecordable = 2 };
enum class FirmwareState : unsigned { None = 0, Loading = 1, Loaded = 2 };
enum class PlaybackSource : unsigned { CurrentClip = 0, AllClips = 1, PlayList = 2 };
enum class AudioInput : unsigned { Embedded = 0, Analog = 2 };
enum class AudioChannels : unsigned { Two = 0, Eight = 1 };

/// The number by which the store knows a value.
template <typename Value>
requires std::is_enum_v<Value>
constexpr unsigned storeNumber(Value value)
{
    return static_cast<unsigned>(value);
}

/// Name of a clip that stands for none.
inline constexpr const char *noClip = "N/A";

/// Playback goes from minus this to this; 1 is normal.
inline constexpr double maximumSpeed = 100;

/// Rounded percent of a medium that are free: at and below these it is full for a new take and for a running
/// one that can go on elsewhere, too full to go on to, and full for a running take that could go on
/// elsewhere.
namespace MediumLevel {
inline constexpr double full = 10;
inline constexpr double target = 15;
inline constexpr double stop = 8;
} // namespace MediumLevel
