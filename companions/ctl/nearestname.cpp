// SPDX-License-Identifier: GPL-3.0-or-later
#include "companions/ctl/nearestname.h"

#include <algorithm>
#include <numeric>
#include <utility>

namespace {
/// How many letters have to be changed to make one word of the other; two that have changed places are one.
size_t distance(const std::string &from, const std::string &to)
{
    std::vector<size_t> row(to.size() + 1);
    std::iota(row.begin(), row.end(), size_t(0));
    std::vector<size_t> above = row, aboveThat;
    for (size_t i = 0; i < from.size(); ++i) {
        aboveThat = std::exchange(above, row);
        row[0] = i + 1;
        for (size_t j = 0; j < to.size(); ++j) {
            row[j + 1] = std::min({above[j] + (from[i] == to[j] ? 0 : 1), row[j] + 1, above[j + 1] + 1});
            if (i > 0 && j > 0 && from[i] == to[j - 1] && from[i - 1] == to[j])
                row[j + 1] = std::min(row[j + 1], aboveThat[j - 1] + 1);
        }
    }
    return row.back();
}
} // namespace

QString nearestName(const std::string &word, const std::vector<std::string> &names)
{
    constexpr size_t mostWrong = 2;
    std::string best;
    size_t least = std::min(mostWrong, word.size() / 2) + 1;
    for (const std::string &name : names) {
        const size_t wrong = distance(word, name);
        if (wrong >= least) continue;
        least = wrong;
        best = name;
    }
    return QString::fromStdString(best);
}
