// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

namespace kel::utils {

/// Reads look-up table files.
class LUT_Utils
{
public:
    /// Reads up to `entries` rows of three values into the three arrays (each of `entries` numbers, 10 bits,
    /// 0 to 1023). `count` becomes the number of entries that the file has. False with a sentence in `error`
    /// when the file is none: `.cube` files (one-dimensional) and plain text of three columns are read.
    static bool parse(std::string path, short *first, short *second, short *third, int entries, int *count,
                      std::string &error);
};

} // namespace kel::utils
