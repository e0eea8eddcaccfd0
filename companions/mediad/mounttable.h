// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <string>
#include <vector>

/// One file system that is mounted below the folder of the media.
struct Mount
{
    std::string path;
    std::string source;      ///< device or other origin
    std::uint64_t mount = 0; ///< of this act of mounting: number, device and origin
    bool writable = false;
};

/// The mounts strictly below `root` in the text of /proc/self/mountinfo (its format: proc(5)), in the order
/// of their paths; of several at one place the one on top. Lines that make no sense are left out.
std::vector<Mount> parseMountTable(const std::string &text, const std::string &root);

/// The label of the file system of a device, as /dev/disk/by-label has it; else the last part of `path`.
std::string mediumLabel(const Mount &mount, const std::string &labelFolder = "/dev/disk/by-label");
