// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtGlobal>

#include <array>
#include <chrono>

/// Distribution of durations, for percentiles without keeping the durations: buckets at most an eighth
/// wide. One thread.
class QmxLatency
{
public:
    using Duration = std::chrono::nanoseconds;
    void add(Duration time);
    qint64 count() const { return _count; }
    Duration maximum() const { return Duration(_maximum); }
    /// Time below which `fraction` (0 to 1) of the durations lie: the upper edge of a bucket, never above
    /// maximum(); 0 without durations.
    Duration percentile(double fraction) const;
    void reset();

private:
    static constexpr int steps = 8;
    static int bucket(qint64 nanoseconds);
    static qint64 upperEdge(int bucket);

    std::array<qint64, 62 *steps> _buckets = {};
    qint64 _count = 0;
    qint64 _maximum = 0;
};
