// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/core/qmxgivenclips.h"

bool QmxGivenClips::contains(const std::string &path) const
{
    const std::lock_guard lock(_mutex);
    return _paths.contains(path);
}

void QmxGivenClips::add(const std::string &path)
{
    const std::lock_guard lock(_mutex);
    _paths.insert(path);
}

void QmxGivenClips::clear()
{
    const std::lock_guard lock(_mutex);
    _paths.clear();
}
