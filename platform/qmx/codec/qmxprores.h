// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/codec/prores/proreslayout.h"
#include "platform/qmx/codec/qmxvideocodec.h"

/// ProRes, all five kinds (data types 202 to 206). The frame header carries what the stream is: field order,
/// aspect, frame rate and colour (SMPTE RDD 36). One thread at a time.

/// Our own coder (platform/qmx/codec/prores): every frame within 5 % of the kind's nominal size, simple
/// pictures below it.
std::unique_ptr<QmxVideoEncoder> qmxCreateProResEncoder(const QmxImageDesc &desc);

/// libavcodec's, for comparison. It works with a fixed quantiser, which is many times cheaper than its own
/// search, and holds the data rate near the nominal one by going to the next coarser or finer quantiser from
/// frame to frame. Creating one takes some milliseconds: make it ahead of the first frame.
std::unique_ptr<QmxVideoEncoder> qmxCreateLibavProResEncoder(const QmxImageDesc &desc);

/// Our own decoder: frames of every coder, whole or smaller; a damaged slice is grey and counted.
std::unique_ptr<QmxVideoDecoder> qmxCreateProResDecoder(const QmxImageDesc &desc);

/// libavcodec's, for comparison.
std::unique_ptr<QmxVideoDecoder> qmxCreateLibavProResDecoder(const QmxImageDesc &desc);

/// What the frame headers say of pictures of this description.
ProResFormat qmxProResFormat(const QmxImageDesc &desc);

/// Nominal size of a coded frame in bytes: what the data rates published for the kind (202 to 206) come to
/// for this raster.
int qmxProResNominalSize(const QmxId &dataType, const QSize &size);
