// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxid.h"

// Values of configuration parameters as identifiers of the framework. Pure functions over fixed tables. A
// value that is in no row gives a default identifier, which is not valid; where that is noteworthy a level
// 2 record tells the value.

// Logged.
QmxId encodeTypeToID(unsigned int value);
QmxId videoInputToID(unsigned int value); ///< the ranges cross: 7 is full, 8 is legal range
QmxId videoOutputToID(unsigned int value);
QmxId audioInputToID(unsigned int value);
QmxId syncSourceToID(unsigned int value);
QmxId hdmiOutToID(unsigned int value);
QmxId audioLevelToID(int value);
QmxId timecodeSourceToID(int value);
QmxId outputRouteToID(int value);
QmxId superOutToID(int value); ///< 0 is "none" and not logged

// Not logged: every other value means "off".
QmxId cameraInputToID(int value);
QmxId videoSignalGenToID(int value);
QmxId audioSignalGenToID(int value);
QmxId inputConversionToID(int value);
QmxId outputConversionToID(int value);

/// The code by which the codec of the media is told; 0 for every type that has none of its own.
int imageDataTypeToDecodeType(const QmxId &dataType);
