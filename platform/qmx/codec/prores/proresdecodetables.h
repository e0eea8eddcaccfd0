// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/codec/prores/proresformat.h"

#include <algorithm>
#include <array>
#include <bit>
#include <optional>
#include <vector>

/// What a code at the head of some bits means.
struct ProResSymbol
{
    quint32 value;
    int length; ///< bits
};

/// Reads a code from the head of 64 bits. Nothing when it is longer than any that a coder writes.
inline std::optional<ProResSymbol> symbolAt(quint64 bits, const ProRes::Codebook &book)
{
    constexpr int mostZeros = 24;
    const int zeros = std::countl_zero(bits);
    if (zeros <= book.lastRiceQuotient) {
        const int length = zeros + 1 + book.rice;
        const quint32 rest = quint32(bits >> (64 - length)) & ((1U << book.rice) - 1);
        return ProResSymbol{quint32(zeros) << book.rice | rest, length};
    }
    if (zeros > mostZeros) return std::nullopt;
    const int prefix = book.lastRiceQuotient + 1;
    const int width = zeros - prefix + book.exponential + 1;
    const int length = zeros + width;
    const quint32 value = quint32(bits >> (64 - length));
    return ProResSymbol{value - (1U << book.exponential) + (quint32(prefix) << book.rice), length};
}

/// 0, -1, 1, -2, 2 ... for the symbols 0, 1, 2, 3, 4 ...
inline int unfolded(quint32 symbol)
{
    return symbol & 1 ? -int(symbol / 2) - 1 : int(symbol / 2);
}

/// Look-up tables of the decoder: a run, the level behind it and its sign in one step, for what most of them
/// are; the others have the entry 0 and are read by symbolAt(). Made once a process; any thread.
class ProResDecodeTables
{
public:
    static const ProResDecodeTables &instance();

    static constexpr int acBits = 10; ///< that choose an entry
    static constexpr int acStates = ProRes::acBooks * ProRes::acBooks;
    static constexpr int longestRun = 62; ///< of an entry
    /// An entry: bits 0 to 3 how many bits it took, 4 to 9 the run and 1 more, 10 to 15 the signed level, 16
    /// to 31 where the table of the next pair begins.
    const quint32 *ac() const { return _ac.data(); }
    /// Where the table begins that is used behind this run and this level (without its sign).
    static quint32 acTable(int run, int level)
    {
        const auto book = [](const auto &books, int value) {
            return quint32(books[std::min(size_t(value), books.size() - 1)]);
        };
        return (book(bookAfterRun, run) * ProRes::acBooks + book(bookAfterLevel, level)) << acBits;
    }

    static constexpr int dcBits = 10;
    /// Tables of DC differences, one behind the other. Bits 0 to 3 of an entry say how many bits it took, 10
    /// and 11 where the table of the next one begins, 16 to 31 the signed difference, against the sign of the
    /// one before.
    const quint32 *dc() const { return _dc.data(); }
    /// Where the table begins that is used behind this difference.
    static quint32 dcTable(int difference);

private:
    ProResDecodeTables();
    // As ProRes::bookAfterRun() and bookAfterLevel() say; the last entry stands for all beyond.
    static const std::array<quint8, 16> bookAfterRun;
    static const std::array<quint8, 10> bookAfterLevel;
    std::vector<quint32> _ac;
    std::vector<quint32> _dc;
};
