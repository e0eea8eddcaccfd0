// SPDX-License-Identifier: GPL-3.0-or-later
// Every command of the protocol that this deck knows. What is not here is answered as undefined.
#include "companions/remote/ninepin/ninepinsession.h"

namespace {
using S = NinepinSession;
using enum NinepinSession::Kind;

constexpr std::uint8_t machine = 0x00, motion = 0x20, preset = 0x40, sense = 0x60;
} // namespace

// clang-format off
std::span<const NinepinSession::Row> NinepinSession::rows()
{
    static constexpr Row all[] = {
        {machine, 0x0C, 0, 0, System, "local disable", &S::localDisable},
        {machine, 0x11, 0, 0, System, "device type", &S::deviceType},
        {machine, 0x1D, 0, 0, System, "local enable", &S::localEnable},
        {motion, 0x00, 0, 0, Motion, "stop", &S::stop},
        {motion, 0x01, 0, 0, Motion, "play", &S::play},
        {motion, 0x02, 0, 0, Motion, "record", &S::record},
        {motion, 0x04, 0, 0, Motion, "standby off", &S::standbyOff},
        {motion, 0x05, 0, 0, Motion, "standby on", &S::standbyOn},
        {motion, 0x0F, 0, 0, Motion, "eject", &S::eject},
        {motion, 0x10, 0, 0, Motion, "fast forward", &S::fastForward},
        {motion, 0x11, 1, 2, Motion, "jog forward", &S::jog},
        {motion, 0x12, 1, 2, Motion, "variable forward", &S::variable},
        {motion, 0x13, 1, 2, Motion, "shuttle forward", &S::shuttle},
        {motion, 0x14, 0, 0, Motion, "frame step forward", &S::stepForward},
        {motion, 0x20, 0, 0, Motion, "rewind", &S::rewind},
        {motion, 0x21, 1, 2, Motion, "jog reverse", &S::jog},
        {motion, 0x22, 1, 2, Motion, "variable reverse", &S::variable},
        {motion, 0x23, 1, 2, Motion, "shuttle reverse", &S::shuttle},
        {motion, 0x24, 0, 0, Motion, "frame step reverse", &S::stepReverse},
        {motion, 0x30, 0, 0, Motion, "preroll", &S::preroll},
        {motion, 0x31, 4, 4, Motion, "cue up with data", &S::cueUp},
        {motion, 0x34, 0, 0, Motion, "sync play", &S::play},
        {motion, 0x38, 1, 1, Motion, "programme play faster", &S::programPlay},
        {motion, 0x39, 1, 1, Motion, "programme play slower", &S::programPlay},
        {motion, 0x40, 0, 0, Motion, "preview", &S::preview},
        {motion, 0x41, 0, 0, Motion, "review", &S::review},
        {motion, 0x42, 0, 0, Motion, "auto edit", &S::autoEdit},
        {motion, 0x60, 0, 0, Motion, "full EE off", &S::fullEeOff},
        {motion, 0x61, 0, 0, Motion, "full EE on", &S::fullEeOn},
        {motion, 0x63, 0, 0, Motion, "select EE on", &S::selectEe},
        {motion, 0x64, 0, 0, Motion, "edit off", &S::editOff},
        {motion, 0x65, 0, 0, Motion, "edit on", &S::editOn},
        {preset, 0x00, 4, 4, Preset, "timer 1 preset", &S::timerPreset},
        {preset, 0x04, 4, 4, Preset, "timecode generator preset", &S::generatorPreset},
        {preset, 0x05, 4, 4, Preset, "user bits preset", &S::generatorBits},
        {preset, 0x08, 0, 0, Preset, "timer 1 reset", &S::timerReset},
        {preset, 0x10, 0, 0, Preset, "IN entry", &S::mark},
        {preset, 0x11, 0, 0, Preset, "OUT entry", &S::mark},
        {preset, 0x14, 4, 4, Preset, "IN data preset", &S::markData},
        {preset, 0x15, 4, 4, Preset, "OUT data preset", &S::markData},
        {preset, 0x18, 0, 0, Preset, "IN one frame on", &S::trimMark},
        {preset, 0x19, 0, 0, Preset, "IN one frame back", &S::trimMark},
        {preset, 0x1A, 0, 0, Preset, "OUT one frame on", &S::trimMark},
        {preset, 0x1B, 0, 0, Preset, "OUT one frame back", &S::trimMark},
        {preset, 0x20, 0, 0, Preset, "IN flag reset", &S::resetMark},
        {preset, 0x21, 0, 0, Preset, "OUT flag reset", &S::resetMark},
        {preset, 0x24, 0, 0, Preset, "IN recall", &S::recallMark},
        {preset, 0x25, 0, 0, Preset, "OUT recall", &S::recallMark},
        {preset, 0x30, 1, 2, Preset, "edit preset", &S::editPreset},
        {preset, 0x31, 4, 4, Preset, "preroll time preset", &S::prerollTime},
        {preset, 0x36, 1, 1, Preset, "timer mode select", &S::timerMode},
        {preset, 0x40, 0, 0, Preset, "auto mode off", &S::autoMode},
        {preset, 0x41, 0, 0, Preset, "auto mode on", &S::autoMode},
        {sense, 0x0A, 1, 1, Sense, "timecode generator sense", &S::generatorSense},
        {sense, 0x0C, 1, 1, Sense, "current time sense", &S::timeSense},
        {sense, 0x10, 0, 0, Sense, "IN sense", &S::markSense},
        {sense, 0x11, 0, 0, Sense, "OUT sense", &S::markSense},
        {sense, 0x12, 0, 0, Sense, "audio IN sense", &S::markSense},
        {sense, 0x13, 0, 0, Sense, "audio OUT sense", &S::markSense},
        {sense, 0x20, 1, 1, Sense, "status sense", &S::statusSense},
        {sense, 0x2E, 0, 0, Sense, "speed sense", &S::speedSense},
        {sense, 0x30, 1, 1, Sense, "edit preset sense", &S::presetSense},
        {sense, 0x31, 0, 0, Sense, "preroll time sense", &S::prerollSense},
        {sense, 0x36, 0, 0, Sense, "timer mode sense", &S::timerModeSense},
        {sense, 0x3E, 0, 0, Sense, "record inhibit sense", &S::inhibitSense},
    };
    return all;
}
// clang-format on
