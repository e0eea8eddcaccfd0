// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxtimecode.h"

#include <QString>

#include <optional>

/// The frame at which a take shall begin or end, as an operator or a program writes it. A value.
struct QmxTakeMoment
{
    enum Kind {
        None,
        Timecode, ///< the frame that carries it
        TimeOfDay ///< the first frame of that moment or after it
    };

    Kind kind = None;
    QmxTimecode timecode; ///< rate 0
    /// Nanoseconds since 1970-01-01 00:00 UTC; of a timecode the moment about which it is expected (0: none):
    /// should the timecode have nothing to do with the clock then, the clock holds.
    qint64 wall = 0;

    /// Reads "10:00:00:00" (";" before the frames: drop frame), "10:00:00" or "10:00:00.250000" (local time
    /// of day; of the days around `wallNow` the nearest) and "2030-01-31T10:00:00.250000", with "Z" at its
    /// end for UTC; also a timecode, a blank and a date with its time. "" is None. Nothing: it is none of
    /// these; `reason` is a sentence without the text.
    static std::optional<QmxTakeMoment> parse(const QString &text, qint64 wallNow, QString *reason = nullptr);
    /// The moment of the local time of day nearest to `wallNow`.
    static qint64 nearest(qint64 nsOfDay, qint64 wallNow);
    /// A moment as parse() reads it back to the microsecond, in UTC.
    static QString toText(qint64 wall);

    friend bool operator==(const QmxTakeMoment &, const QmxTakeMoment &) = default;
};
