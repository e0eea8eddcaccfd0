// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxlog.h"

#include <QHash>
#include <QList>

#include <chrono>

/// Folds equal records of the log: the first passes, then one with the count of the others, also when several
/// texts alternate: after a second, and while it goes on after two, four ... up to a minute; two seconds
/// after the last one in any case. A line that stands for others has the time at which it is written: the log
/// stays in the order of time. Bounded: with too many different texts at once all pass. One thread.
class QmxLogFold
{
public:
    using Duration = std::chrono::nanoseconds;
    static constexpr Duration interval = std::chrono::seconds(1); ///< between the first two let through
    static constexpr Duration longestInterval = 60 * interval;
    static constexpr Duration quiet = 2 * interval; ///< after that nothing more of a text is waited for

    /// What is to be written for this record, made at `now` (of a QmxClock); nothing when it is folded away.
    QList<QmxLogRecord> add(const QmxLogRecord &record, qint64 now);
    /// What has been folded away and has waited long enough; `all`: whatever has been folded away.
    QList<QmxLogRecord> due(qint64 now, bool all = false);

private:
    static constexpr int maximumTexts = 256;

    struct Entry
    {
        QmxLogRecord last; // the newest one folded
        qint64 written = 0;
        qint64 seen = 0;
        int folded = 0;
        qint64 order = 0;
        Duration pause = interval; // until one is let through again
    };
    static bool isQuiet(const Entry &entry, qint64 now) { return Duration(now - entry.seen) >= quiet; }
    static bool isPaused(const Entry &entry, qint64 now)
    {
        return Duration(now - entry.written) < entry.pause;
    }
    static void wrote(Entry &entry, qint64 now);

    QHash<QString, Entry> _entries;
    qint64 _newest = 0; ///< time of the newest record
    qint64 _order = 0;
};
