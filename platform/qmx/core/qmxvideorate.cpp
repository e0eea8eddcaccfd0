// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/core/qmxvideorate.h"

#include <numeric>

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
