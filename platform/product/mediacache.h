// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/product/clip.h"

#include <string>

namespace kel::media {

/// What is known about the clips on the media.
class MediaCache
{
public:
    /// Reads the clip at `path`; false when it is none. A clip that this process is recording is answered
    /// from the framework's table of record streams (frames accepted so far), without touching the file; a
    /// clip that somebody else is recording has the frames that can be read by now. With `exact` false a
    /// clip that the process was already given since its last listing is refused.
    static bool GrokClip(Clip &clip, std::string path, bool exact);
};

} // namespace kel::media
