// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxframe.h"
#include "platform/qmx/core/qmxvideostate.h"
#include "platform/qmx/device/qmxvideodevicesetup.h"
#include "xpd/transport/vtrstate.h"

/// The four set-ups of the video device as functions of what they are made from.
namespace DeviceSetups {

/// What every set-up starts from: 1920 x 1080 progressive at 24, stereo, output, with all the routing and
/// options of `state`. `inputValid`: there is a picture at the input, or the generator stands in for it.
QmxVideoDeviceSetup standard(const VtrState &state, const QmxId &timecodeSource, bool inputValid);

/// The set-up that shows `frame`: pictures and sound as the frame has them; no sound when it has none.
QmxVideoDeviceSetup playback(const QmxVideoDeviceSetup &standard, const QmxFrame &frame);

/// The set-up that captures `input` (or the generator) in the encode format of `state`.
QmxVideoDeviceSetup record(const QmxVideoDeviceSetup &standard, const VtrState &state,
                           const QmxVideoState &input, bool inputValid);

/// The set-up in which the device is left behind: bars of the internal generator, silent.
QmxVideoDeviceSetup shutdown(const QmxVideoDeviceSetup &standard);

} // namespace DeviceSetups
