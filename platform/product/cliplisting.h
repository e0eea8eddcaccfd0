// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/product/clip.h"

#include <optional>
#include <string>
#include <vector>

class ClipSource;

/// The clips of one folder at one moment, as the media daemon shares them. A plain value.
struct ClipListing
{
    std::string folder;
    qint64 changed = 0; ///< change time of the folder itself: nanoseconds since 1970
    /// All clips are closed and the folder has not changed just now, so that `changed` tells whether this is
    /// still what is there.
    bool settled = false;
    std::string playList; ///< of a play list: the names it was made of, a line each
    std::vector<Clip> clips;

    friend bool operator==(const ClipListing &, const ClipListing &) = default;
};

/// Looks at a folder through `source`. Blocks on the medium. Nothing when it cannot be read.
std::optional<ClipListing> takeClipListing(const std::string &folder, ClipSource &source);
/// Whether the folder still has the change time of the listing.
bool isUpToDate(const ClipListing &listing);
/// The clips of the play list `names` in its order, a clip as often as it stands there; what is not among
/// `clips` is left out. An entry that is a part (QmxClipPart, by frame numbers) has the part's name and
/// length.
std::vector<Clip> clipsOfPlayList(const std::vector<Clip> &clips, const std::string &names);
