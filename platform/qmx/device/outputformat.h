// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/device/qmxvideodevicesetup.h"

/// What conversions make of a format, and what a set-up says about the outputs. Pure; any thread.
namespace OutputFormat {

/// The raster after a conversion; the rate stays:
/// 1200 cross: 720 lines become 1080 and 1080 lines become 720, progressive pictures only, at the rates that
/// both have (50 and more); 1201 up: standard definition becomes 1920x1080; 1202 down: high definition
/// becomes 720x486 or 720x576, whichever the rate belongs to. A format that a conversion has nothing for, and
/// any other conversion, leave it as it is.
QmxImageDesc converted(const QmxImageDesc &desc, const QmxId &conversion);

/// What the outputs carry when pictures of `desc` are on: the output conversion and, when it is forced,
/// progressive pictures as segmented frames (at the rates that have them, up to 30).
QmxImageDesc shown(const QmxImageDesc &desc, const QmxVideoDeviceSetup &setup);

/// The electrical side, for the operator: "4:2:2 legal range, SDI level B, HDMI 4:2:2, analog +24 dBu". A
/// software card has no connectors; what it was told about them is state that can be looked at.
QString describe(const QmxVideoDeviceSetup &setup);

} // namespace OutputFormat
