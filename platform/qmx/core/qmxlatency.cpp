// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/core/qmxlatency.h"

#include <bit>

int QmxLatency::bucket(qint64 nanoseconds)
{
    const quint64 value = quint64(qMax<qint64>(nanoseconds, 0));
    if (value < steps) return int(value);
    // The leading bit chooses the group, the three bits behind it the step within.
    const int shift = std::bit_width(value) - std::bit_width(quint64(steps));
    return (shift + 1) * steps + int((value >> shift) - steps);
}

qint64 QmxLatency::upperEdge(int bucket)
{
    if (bucket < steps) return bucket;
    const int shift = bucket / steps - 1;
    // Without a sign: the edge of the last bucket is the largest number there is.
    return qint64(((quint64(bucket % steps + steps) + 1) << shift) - 1);
}

void QmxLatency::add(Duration time)
{
    ++_buckets[size_t(bucket(time.count()))];
    ++_count;
    _maximum = qMax<qint64>(_maximum, time.count());
}

QmxLatency::Duration QmxLatency::percentile(double fraction) const
{
    const qint64 wanted = qMax<qint64>(1, qRound64(double(_count) * fraction));
    qint64 seen = 0;
    for (size_t i = 0; i < _buckets.size() && _count > 0; ++i) {
        seen += _buckets[i];
        if (seen >= wanted) return Duration(qMin(upperEdge(int(i)), _maximum));
    }
    return Duration(_maximum);
}

void QmxLatency::reset()
{
    *this = QmxLatency();
}
