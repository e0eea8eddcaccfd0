// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/codec/prores/proresdecodetables.h"

#include <algorithm>
#include <cstdlib>

namespace {
constexpr int greatestLevel = 31; ///< that an entry has room for
} // namespace

const ProResDecodeTables &ProResDecodeTables::instance()
{
    static const ProResDecodeTables tables;
    return tables;
}

template <size_t count>
static std::array<quint8, count> listed(int (*book)(int))
{
    std::array<quint8, count> list{};
    for (size_t i = 0; i < count; ++i)
        list[i] = quint8(book(int(i)));
    return list;
}
const std::array<quint8, 16> ProResDecodeTables::bookAfterRun = listed<16>(ProRes::bookAfterRun);
const std::array<quint8, 10> ProResDecodeTables::bookAfterLevel = listed<10>(ProRes::bookAfterLevel);

ProResDecodeTables::ProResDecodeTables()
{
    _ac.reserve(size_t(acStates) << acBits);
    for (const ProRes::Codebook &runBook : ProRes::acRun)
        for (const ProRes::Codebook &levelBook : ProRes::acLevel)
            for (quint64 index = 0; index < 1U << acBits; ++index) {
                _ac.push_back(0);
                const quint64 bits = index << (64 - acBits);
                const auto run = symbolAt(bits, runBook);
                if (!run || run->length >= acBits || run->value > longestRun) continue;
                const auto level = symbolAt(bits << run->length, levelBook);
                if (!level || run->length + level->length >= acBits) continue;
                const int length = run->length + level->length + 1;
                const int size = int(level->value) + 1;
                if (size > greatestLevel) continue;
                const bool negative = bits << (length - 1) >> 63;
                _ac.back() = quint32(length) | (run->value + 1) << 4 |
                             (quint32(negative ? -size : size) & 63) << 10 |
                             acTable(int(run->value), size) << 16;
            }
    _dc.reserve(ProRes::dcDifference.size() << dcBits);
    for (const ProRes::Codebook &book : ProRes::dcDifference)
        for (quint64 index = 0; index < 1U << dcBits; ++index) {
            const auto symbol = symbolAt(index << (64 - dcBits), book);
            _dc.push_back(0);
            if (!symbol || symbol->length > dcBits) continue;
            const int difference = unfolded(symbol->value);
            _dc.back() = quint32(symbol->length) | dcTable(difference) | quint32(difference) << 16;
        }
}

quint32 ProResDecodeTables::dcTable(int difference)
{
    return quint32(std::min(std::abs(difference), ProRes::firstDcDifference)) << dcBits;
}
