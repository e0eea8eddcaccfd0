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
        _entries.insert(key, {record, now, now, 0, ++_order});
        result.append(record);
        return result;
    }
    found->last = record;
    found->seen = now;
    if (isPaused(*found, now)) {
        ++found->folded;
        return result;
    }
    found->last.more = std::exchange(found->folded, 0);
    wrote(*found, now);
    result.append(found->last);
    return result;
}

/// What comes again and again is told more and more rarely.
void QmxLogFold::wrote(Entry &entry, qint64 now)
{
    entry.pause = std::min(2 * entry.pause, longestInterval);
    entry.written = now;
}

QList<QmxLogRecord> QmxLogFold::due(qint64 now, bool all)
{
    QList<Entry> expired;
    for (auto entry = _entries.begin(); entry != _entries.end();) {
        const bool isOver = isQuiet(*entry, now) && !isPaused(*entry, now);
        if (entry->folded == 0 && (all || isOver)) {
            entry = _entries.erase(entry);
            continue;
        }
        if (entry->folded > 0 && (all || isQuiet(*entry, now) || !isPaused(*entry, now))) {
            expired.append(*entry);
            entry->folded = 0;
            wrote(*entry, now);
        }
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
