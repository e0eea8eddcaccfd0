// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/codec/qmxvideocodec.h"

/// ProRes, all five kinds (data types 202 to 206), by libavcodec. The frame header carries what the stream
/// is: field order, aspect, frame rate and colour (SMPTE RDD 36).
///
/// The coder works with a fixed quantiser, which is many times cheaper than libavcodec's own search, and
/// holds the data rate near the kind's nominal one by going to the next coarser or finer quantiser from
/// frame to frame; simple pictures stay below it. Creating a coder takes some milliseconds: make it ahead
/// of the first frame. One thread at a time.
std::unique_ptr<QmxVideoEncoder> qmxCreateProResEncoder(const QmxImageDesc &desc);
std::unique_ptr<QmxVideoDecoder> qmxCreateProResDecoder(const QmxImageDesc &desc);

/// Nominal size of a coded frame in bytes: what the data rates published for the kind (202 to 206) come to
/// for this raster.
int qmxProResNominalSize(const QmxId &dataType, const QSize &size);
