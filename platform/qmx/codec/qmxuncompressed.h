// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/codec/qmxvideocodec.h"

/// Uncompressed 4:2:2 as QuickTime files carry it: "2vuy", 8 bits as Cb Y Cr Y (data type 230), and "v210",
/// six samples of 10 bits in four little-endian words, rows padded to 128 bytes (data type 231).
/// 230 rounds and dithers nothing; 231 is without loss. And "r210", R, G and B of 10 bits in one big-endian
/// word a pixel, full range, rows padded to 256 bytes (data type 250), without loss. One thread at a time.
std::unique_ptr<QmxVideoEncoder> qmxCreateUncompressed8Encoder(const QmxImageDesc &desc);
std::unique_ptr<QmxVideoDecoder> qmxCreateUncompressed8Decoder(const QmxImageDesc &desc);
std::unique_ptr<QmxVideoEncoder> qmxCreateUncompressed10Encoder(const QmxImageDesc &desc);
std::unique_ptr<QmxVideoDecoder> qmxCreateUncompressed10Decoder(const QmxImageDesc &desc);
std::unique_ptr<QmxVideoEncoder> qmxCreateUncompressedRgbEncoder(const QmxImageDesc &desc);
std::unique_ptr<QmxVideoDecoder> qmxCreateUncompressedRgbDecoder(const QmxImageDesc &desc);
