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
    /// when the file is none: `.cube` files and plain text of three columns are read.
    ///
    /// Of a three-dimensional file the arrays get the diagonal, as many values as they hold; the table itself
    /// is kept under the file's name, and whoever applies the arrays finds it there (QmxCubes).
    static bool parse(std::string path, short *first, short *second, short *third, int entries, int *count,
                      std::string &error);
};

} // namespace kel::utils
