// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/codec/prores/proresformat.h"

#include <vector>

/// The codes of all AC runs and levels, ready to write. Made once a process; any thread.
class ProResCodeTables
{
public:
    /// A code, its length and the codebook of the next one, in one word.
    class Entry
    {
    public:
        Entry() = default;
        Entry(const ProRes::Code &code, int nextBook)
            : _word(code.value << valueShift | quint32(code.length) << lengthShift | quint32(nextBook))
        {}
        quint32 value() const { return _word >> valueShift; }
        int length() const { return int(_word >> lengthShift & lengthMask); }
        unsigned nextBook() const { return _word & bookMask; }

    private:
        static constexpr int lengthShift = 3;
        static constexpr int valueShift = 8;
        static constexpr quint32 bookMask = 7;
        static constexpr quint32 lengthMask = 31;
        quint32 _word = 0;
    };

    static constexpr int runs = ProRes::groupSamples; ///< 0 to one less
    static constexpr int levels = 8192;               ///< 1 to one less, without the sign

    static const ProResCodeTables &instance();

    const Entry &run(unsigned book, int length) const { return _runs[book * runs + size_t(length)]; }
    const Entry &level(unsigned book, int size) const { return _levels[book * levels + size_t(size)]; }

private:
    ProResCodeTables();
    std::vector<Entry> _runs;
    std::vector<Entry> _levels;
};
