// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QMetaType>

/// An exact frame rate in frames a second, kept reduced: 24000/1000 equals 24. A value; the default and
/// everything that is not positive is 0 and not valid.
class QmxVideoRate
{
public:
    constexpr QmxVideoRate() = default;
    QmxVideoRate(int whole);
    QmxVideoRate(int num, int den);
    /// As a file or a stream states it: exact where a recorder can keep it (1 to 1000 frames a second, terms
    /// of 31 bits), else the nearest usual rate; not valid for what is not positive.
    static QmxVideoRate stated(qint64 num, qint64 den);

    int num() const { return _num; }
    int den() const { return _den; }
    bool isValid() const { return _num > 0; }
    double toDouble() const { return double(_num) / _den; }
    /// Frames counted in a second of timecode: the rate rounded up, 24 for 24000/1001; 0 when not valid.
    int timecodeRate() const;
    /// How long `frames` last, rounded down; exact for every valid rate while the result fits. With `fields`
    /// 2 it is fields that are counted. 0 when not valid.
    qint64 nanoseconds(qint64 frames, int fields = 1) const;
    /// How many whole frames (or fields) have begun and ended in that time, 0 or more nanoseconds.
    qint64 framesIn(qint64 nanoseconds, int fields = 1) const;

    friend bool operator==(const QmxVideoRate &, const QmxVideoRate &) = default;

private:
    int _num = 0;
    int _den = 1; // never 0
};

Q_DECLARE_METATYPE(QmxVideoRate)
