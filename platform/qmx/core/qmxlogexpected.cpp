// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/core/qmxlogexpected.h"

#include "platform/qmx/core/qmxlog.h"

#include <QLatin1String>

#include <array>
#include <atomic>

namespace {
struct Row
{
    const char *source;
    const char *start;
    const char *part;
};
std::array<Row, 8> rows;
std::atomic<size_t> count = 0; ///< of rows that are whole
} // namespace

void qmxLogExpect(const char *source, const char *start, const char *part)
{
    const size_t next = count;
    if (next == rows.size()) return;
    rows[next] = {source, start, part};
    count = next + 1;
}

bool qmxLogIsExpected(const QmxLogRecord &record)
{
    for (size_t i = 0; i < count; ++i) {
        const Row &row = rows[i];
        if (record.source == QLatin1String(row.source) && record.text.startsWith(QLatin1String(row.start)) &&
            record.text.contains(QLatin1String(row.part)))
            return true;
    }
    return false;
}
