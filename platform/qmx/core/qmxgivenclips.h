// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <mutex>
#include <set>
#include <string>

/// Which clips a recorder was given since its last listing: whoever adds a clip to a list twice would
/// shift every clip behind it. Any thread.
class QmxGivenClips
{
public:
    bool contains(const std::string &path) const;
    void add(const std::string &path);
    void clear();

private:
    mutable std::mutex _mutex;
    std::set<std::string> _paths;
};
