// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/core/qmxlogfold.h"

#include <algorithm>

QList<QmxLogRecord> QmxLogFold::add(const QmxLogRecord &record, qint64 now)
{
    const QString key =
        QStringLiteral("%1 %2 %3 %4").arg(record.level).arg(record.line).arg(record.source, record.text);
    QList<QmxLogRecord> result;
    _newest = std::max(_newest, record.wallTime);
    const auto found = _entries.find(key);
    if (found == _entries.end()) {
        if (_entries.size() >= maximumTexts) result = due(now, true);
        _entries.insert(key, {record, now, 0, ++_order});
        result.append(record);
        return result;
    }
    found->last = record;
    if (now - found->written < interval) {
        ++found->folded;
        return result;
    }
    found->last.more = std::exchange(found->folded, 0);
    found->written = now;
    result.append(found->last);
    return result;
}

QList<QmxLogRecord> QmxLogFold::due(qint64 now, bool all)
{
    QList<Entry> expired;
    for (auto entry = _entries.begin(); entry != _entries.end();) {
        if (!all && now - entry->written < interval) {
            ++entry;
            continue;
        }
        if (entry->folded == 0) {
            entry = _entries.erase(entry);
            continue;
        }
        expired.append(*entry);
        entry->folded = 0;
        entry->written = now;
        ++entry;
    }
    std::sort(expired.begin(), expired.end(),
              [](const Entry &a, const Entry &b) { return a.order < b.order; });
    QList<QmxLogRecord> result;
    for (Entry &entry : expired) {
        entry.last.more = entry.folded - 1; // it stands for itself, too
        entry.last.wallTime = _newest;      // others have been written since
        result.append(entry.last);
    }
    return result;
}
