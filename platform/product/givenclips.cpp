// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/product/givenclips.h"

GivenClips &GivenClips::instance()
{
    static GivenClips given;
    return given;
}

bool GivenClips::contains(const std::string &path) const
{
    const std::lock_guard lock(_mutex);
    return _paths.contains(path);
}

void GivenClips::add(const std::string &path)
{
    const std::lock_guard lock(_mutex);
    _paths.insert(path);
}

void GivenClips::clear()
{
    const std::lock_guard lock(_mutex);
    _paths.clear();
}
