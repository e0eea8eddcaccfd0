// SPDX-License-Identifier: GPL-3.0-or-later
#include "companions/ctl/nearestname.h"

#include <algorithm>
#include <numeric>

namespace {
/// How many letters have to be changed to make one word of the other.
size_t distance(const std::string &from, const std::string &to)
{
    std::vector<size_t> row(to.size() + 1);
    std::iota(row.begin(), row.end(), size_t(0));
    for (size_t i = 0; i < from.size(); ++i) {
        size_t diagonal = row[0]++;
        for (size_t j = 0; j < to.size(); ++j) {
            const size_t replaced = diagonal + (from[i] == to[j] ? 0 : 1);
            diagonal = row[j + 1];
            row[j + 1] = std::min({replaced, row[j] + 1, diagonal + 1});
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
