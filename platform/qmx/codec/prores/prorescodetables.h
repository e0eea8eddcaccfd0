// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/codec/prores/proresformat.h"

#include <algorithm>
#include <array>
#include <vector>

/// The codes of all AC runs and levels, ready to write. Made once a process; any thread.
class ProResCodeTables
{
public:
    /// A code and its length in one word.
    class Entry
    {
    public:
        Entry() = default;
        explicit Entry(const ProRes::Code &code) : _word(code.value << valueShift | quint32(code.length)) {}
        quint32 value() const { return _word >> valueShift; }
        int length() const { return int(_word & lengthMask); }

    private:
        static constexpr int valueShift = 5;
        static constexpr quint32 lengthMask = 31;
        quint32 _word = 0;
    };

    static constexpr int runs = ProRes::groupSamples; ///< 0 to one less
    static constexpr int levels = 8192;               ///< 1 to one less, without the sign

    static const ProResCodeTables &instance();

    /// The codes of all runs behind this one; of all levels behind this one with their signs, by twice the
    /// level and 1 more for a negative one. That a table follows from what
    /// was coded before, and not from its code, lets the processor look up many at once.
    const Entry *runsAfter(int run) const { return _runsAfter[size_t(std::min(run, lastRun))]; }
    const Entry *levelsAfter(int level) const { return _levelsAfter[size_t(std::min(level, lastLevel))]; }

private:
    ProResCodeTables();
    // Behind longer runs and greater levels always the same table is used.
    static constexpr int lastRun = 15;
    static constexpr int lastLevel = 9;
    std::vector<Entry> _runs;
    std::vector<Entry> _levels;
    std::array<const Entry *, lastRun + 1> _runsAfter{};
    std::array<const Entry *, lastLevel + 1> _levelsAfter{};
};
