// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

/// What is known about one mounted medium. A plain value.
struct Medium
{
    std::string path;        ///< where it is mounted
    std::string label;       ///< of its file system; without one the last part of the path
    std::uint64_t mount = 0; ///< differs after it was unmounted and mounted again
    bool writable = false;   ///< false too while it does not answer
    double percentFree = 0;  ///< rounded to whole numbers, as the transport does it
    /// Differs when a clip has come, gone or changed; what this recorder records left out.
    std::uint64_t clips = 0;
    std::vector<std::string> names;      ///< of all clips, in alphabetical order
    bool beingRecorded = false;          ///< this recorder records a clip on it
    std::vector<std::string> recorded{}; ///< names of the clips that are being recorded
    std::vector<std::string> growing{};  ///< clips that another recorder records on it, with frames already

    std::int64_t bytesFree = 0;
    std::int64_t bytesTotal = 0;
    std::int64_t recordedBytes = 0; ///< of the clip that is being recorded, so far
    double newestRate = 0;          ///< bytes a second of the newest clip; 0: not known

    bool holds(const std::string &name) const { return std::binary_search(names.begin(), names.end(), name); }
};
