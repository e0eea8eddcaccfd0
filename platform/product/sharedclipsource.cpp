// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/product/sharedclipsource.h"

SharedClipSource::SharedClipSource(const QmxEnvironment &environment) : _medium(environment) {}

std::optional<std::vector<Clip>> SharedClipSource::clips(const std::string &folder)
{
    if (auto listing = _cache.listing(folder); listing && isUpToDate(*listing)) {
        _complete = true;
        return std::move(listing->clips);
    }
    auto found = _medium.clips(folder);
    _complete = _medium.isComplete();
    return found;
}
