// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/product/clipcache.h"
#include "platform/product/clipscan.h"

/// The clips that the media daemon shares, as long as it runs and the folder has not changed since it
/// looked; otherwise what is on the medium itself. One thread at a time.
class SharedClipSource : public ClipSource
{
public:
    explicit SharedClipSource(const QmxEnvironment &environment);
    std::optional<std::vector<Clip>> clips(const std::string &folder) override;
    bool isComplete() const override { return _complete; }

private:
    ClipCache _cache{ClipCache::AllClips};
    MediumClipSource _medium;
    bool _complete = false;
};
