// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

/// What kind of speed a speed is. Built from the speed and never set by hand.
class VtrSpeedFlags
{
public:
    enum Flag : quint32 {
        Valid = 1,
        Fwd = 2,
        Rev = 4,
        Bit3 = 8, ///< reserved, never set by fromSpeed()
        Still = 16,
        Normal = 32, ///< exactly 1.0 or -1.0
        Slow = 64,
        Fast = 128
    };

    explicit VtrSpeedFlags(quint32 flags = 0) : _flags(flags) {}

    /// Classifies `speed` (1.0 is normal forward play, 0.0 is still); compares exactly.
    static VtrSpeedFlags fromSpeed(double speed);

    bool isForward() const { return has(Fwd); }
    bool isReverse() const { return has(Rev); }
    bool isStill() const { return has(Still); }
    bool isNormalForward() const { return has(Fwd | Normal); }
    bool isFastForward() const { return has(Fwd | Fast); }
    bool isFastReverse() const { return has(Rev | Fast); }

    /// The words of the set flags in the order of their bits, separated by single blanks.
    QString toString() const;

private:
    bool has(quint32 flags) const { return (_flags & flags) == flags; }

    quint32 _flags;
};
