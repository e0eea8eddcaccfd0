// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxcounterlist.h"

#include <QList>
#include <QString>

#include <atomic>
#include <memory>
#include <span>

/// The recorder's counters: a table of 64-bit values in shared memory that companions
/// read while the recorder runs. Every row is written by one thread (any one), without a lock; readers see
/// each value whole, but not all values of one moment.
///
/// The first set() or add() of a program that called publish() is seen by others; without publish() (tools,
/// tests) the table is private memory.
class QmxCounters
{
public:
    /// A row each of qmxcounterlist.h, in its order.
    enum Row {
    // clang-format off
#define QMX_COUNTER_ROW(row, name, unit, metric, kind, scale, help) row,
        QMX_COUNTERS(QMX_COUNTER_ROW)
#undef QMX_COUNTER_ROW
        RowCount
        // clang-format on
    };

    /// What a row is: its list entry.
    struct Description
    {
        enum Kind { Counter, Gauge };

        const char *name;
        const char *unit;
        const char *metric;
        Kind kind;
        double scale;
        const char *help;
    };
    static std::span<const Description> descriptions();

    QmxCounters();
    ~QmxCounters();
    QmxCounters(const QmxCounters &) = delete;
    QmxCounters &operator=(const QmxCounters &) = delete;

    /// Moves the table into shared memory under its name, taking over one that a dead process left behind;
    /// false (and private memory as before) when it cannot be made or a living process has it. Done by
    /// whoever opens the video device. Again: nothing.
    bool publish(const QString &name);
    void set(Row row, qint64 value);
    void add(Row row, qint64 increment = 1);
    /// Sets when larger: for maxima.
    void raise(Row row, qint64 value);
    qint64 value(Row row) const;

private:
    std::atomic<qint64> *cell(Row row) const;
    struct Private;
    std::unique_ptr<Private> d;
};

/// Reads the counters of a running recorder, by name, so that it need not be of the same version.
class QmxCountersReader
{
public:
    struct Counter
    {
        QString name;
        QString unit;
        qint64 value = 0;
    };

    QmxCountersReader();
    ~QmxCountersReader();
    QmxCountersReader(const QmxCountersReader &) = delete;
    QmxCountersReader &operator=(const QmxCountersReader &) = delete;

    /// False when there is none or it makes no sense. Again: takes the present one.
    bool open(const QString &name);
    /// Of the recorder of the environment.
    bool open();
    QList<Counter> counters() const;
    /// 0 when there is no such row.
    qint64 value(const QString &name) const;
    /// Process that publishes them; 0 when not open.
    int pid() const;

private:
    struct Private;
    std::unique_ptr<Private> d;
};
