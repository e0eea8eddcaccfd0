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

    int num() const { return _num; }
    int den() const { return _den; }
    bool isValid() const { return _num > 0; }
    double toDouble() const { return double(_num) / _den; }
    /// Frames counted in a second of timecode: the rate rounded up, 24 for 24000/1001; 0 when not valid.
    int timecodeRate() const;

    friend bool operator==(const QmxVideoRate &, const QmxVideoRate &) = default;

private:
    int _num = 0;
    int _den = 1; // never 0
};

Q_DECLARE_METATYPE(QmxVideoRate)
