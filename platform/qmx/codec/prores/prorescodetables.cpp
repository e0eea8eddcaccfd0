// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/codec/prores/prorescodetables.h"

const ProResCodeTables &ProResCodeTables::instance()
{
    static const ProResCodeTables tables;
    return tables;
}

ProResCodeTables::ProResCodeTables()
{
    using namespace ProRes;
    _runs.reserve(size_t(acBooks) * runs);
    _levels.reserve(size_t(acBooks) * levels * 2);
    for (const Codebook &book : acRun)
        for (int run = 0; run < runs; ++run)
            _runs.emplace_back(code(book, quint32(run)));
    for (const Codebook &book : acLevel) {
        _levels.resize(_levels.size() + 2);
        for (int level = 1; level < levels; ++level)
            for (const quint32 sign : {0U, 1U}) {
                const Code bare = code(book, quint32(level - 1));
                _levels.emplace_back(Code{bare.value << 1 | sign, bare.length + 1});
            }
    }
    for (int run = 0; run <= lastRun; ++run)
        _runsAfter[size_t(run)] = _runs.data() + bookAfterRun(run) * runs;
    for (int level = 1; level <= lastLevel; ++level)
        _levelsAfter[size_t(level)] = _levels.data() + bookAfterLevel(level) * levels * 2;
}
