// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/core/qmxvideorate.h"

#include <cmath>
#include <limits>
#include <numeric>

namespace {

// The product of a number of frames, a term of 31 bits and the nanoseconds of a second passes 64 bits within
// minutes for rates as files state them (10000000/417083).
__extension__ using Wide = __int128;
constexpr qint64 nsPerSecond = 1'000'000'000;

} // namespace

QmxVideoRate::QmxVideoRate(int whole) : QmxVideoRate(whole, 1) {}

QmxVideoRate::QmxVideoRate(int num, int den)
{
    if (num <= 0 || den <= 0) return;
    const int divisor = std::gcd(num, den);
    _num = num / divisor;
    _den = den / divisor;
}

int QmxVideoRate::timecodeRate() const
{
    return int((qint64(_num) + _den - 1) / _den);
}

QmxVideoRate QmxVideoRate::stated(qint64 num, qint64 den)
{
    constexpr qint64 largest = std::numeric_limits<int>::max();
    constexpr qint64 fastest = 1000;
    static const QmxVideoRate usual[] = {{24000, 1001}, {24, 1}, {25, 1},       {30000, 1001},
                                         {30, 1},       {50, 1}, {60000, 1001}, {60, 1}};
    if (num <= 0 || den <= 0) return {};
    const qint64 divisor = std::gcd(num, den);
    num /= divisor;
    den /= divisor;
    if (num <= largest && den <= largest && num >= den && num / den < fastest) return {int(num), int(den)};
    const double wanted = double(num) / double(den);
    QmxVideoRate nearest = usual[0];
    for (const QmxVideoRate &rate : usual)
        if (std::abs(rate.toDouble() - wanted) < std::abs(nearest.toDouble() - wanted)) nearest = rate;
    return nearest;
}

qint64 QmxVideoRate::nanoseconds(qint64 frames, int fields) const
{
    return isValid() ? qint64(Wide(frames) * _den * nsPerSecond / (Wide(_num) * fields)) : 0;
}

qint64 QmxVideoRate::framesIn(qint64 nanoseconds, int fields) const
{
    // The n-th frame has ended when nanoseconds(n), which is rounded down, has passed.
    const Wide period = Wide(_den) * nsPerSecond;
    return isValid() ? qint64(((Wide(nanoseconds) + 1) * _num * fields - 1) / period) : 0;
}
