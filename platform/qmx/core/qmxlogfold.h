// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxlog.h"

#include <QHash>
#include <QList>

/// Folds equal records of the log: the first passes, then one a second with the count of the others, also
/// when several texts alternate. A line that stands for others has the time at which it is written: the log
/// stays in the order of time. Bounded: with too many different texts in a second all pass. One thread.
class QmxLogFold
{
public:
    static constexpr qint64 interval = 1'000'000'000; ///< nanoseconds between records that are let through

    /// What is to be written for this record, made at `now`; nothing when it is folded away.
    QList<QmxLogRecord> add(const QmxLogRecord &record, qint64 now);
    /// What has been folded away for `interval`; `all`: whatever has been folded away.
    QList<QmxLogRecord> due(qint64 now, bool all = false);

private:
    static constexpr int maximumTexts = 256;

    struct Entry
    {
        QmxLogRecord last; // the newest one folded
        qint64 written = 0;
        int folded = 0;
        qint64 order = 0;
    };
    QHash<QString, Entry> _entries;
    qint64 _newest = 0; ///< time of the newest record
    qint64 _order = 0;
};
