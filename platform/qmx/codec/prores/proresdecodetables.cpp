// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/codec/prores/proresdecodetables.h"

namespace {
constexpr int longestRun = 14; ///< that an entry has room for
constexpr int greatestLevel = 127;
} // namespace

const ProResDecodeTables &ProResDecodeTables::instance()
{
    static const ProResDecodeTables tables;
    return tables;
}

quint32 ProResDecodeTables::acTable(int run, int level)
{
    return quint32(ProRes::bookAfterRun(run) * ProRes::acBooks + ProRes::bookAfterLevel(level)) << acBits;
}

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
                             quint32(quint8(negative ? -size : size)) << 8 |
                             acTable(int(run->value), size) << 16;
            }
    _dc.reserve(ProRes::dcDifference.size() << dcBits);
    for (const ProRes::Codebook &book : ProRes::dcDifference)
        for (quint64 index = 0; index < 1U << dcBits; ++index) {
            const auto symbol = symbolAt(index << (64 - dcBits), book);
            const bool fits = symbol && symbol->length <= dcBits;
            _dc.push_back(fits ? quint16(quint32(symbol->length) | symbol->value << 4) : quint16(0));
        }
}
