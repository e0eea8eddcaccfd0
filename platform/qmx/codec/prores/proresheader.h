// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/codec/prores/proreslayout.h"

/// Headers of frames and pictures. Pure; any thread.
namespace ProResHeader {

constexpr int frameSize = 8 + 20 + 2 * ProRes::blockSamples; ///< with the frame's size and identifier
constexpr int pictureSize = 8;

/// The four letters in every frame that say which coder made it.
constexpr char encoderIdentifier[] = "xprd";

/// Writes the header of a frame of `size` bytes, its own included.
void putFrame(const ProResFormat &format, int size, uchar *out);
/// Writes the header of a picture of `size` bytes, its own included.
void putPicture(int size, int slices, uchar *out);

} // namespace ProResHeader
