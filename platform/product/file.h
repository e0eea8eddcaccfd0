// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

namespace kel::utils::file {

class File
{
public:
    /// Whether `path` names something other than a folder. A medium that does not answer within 100 ms
    /// counts as not having it.
    static bool file_exists(const std::string &path);
};

} // namespace kel::utils::file
