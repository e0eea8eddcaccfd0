// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxid.h"

/// Metadata keys that streams set and read.
namespace StreamReaderKeys {
inline const QmxId frameNumber(1); ///< int, in the whole stream
inline const QmxId firstFrame(9);  ///< bool, of the whole stream
inline const QmxId lastFrame(10);  ///< bool, of the whole stream
inline const QmxId timecode(12);   ///< QmxTimecode
inline const QmxId listIndex(18);  ///< QmxPlayListIndex, play lists only
} // namespace StreamReaderKeys
