// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/core/qmxtakemoment.h"

#include "platform/qmx/core/qmxclock.h"

#include <QDateTime>
#include <QRegularExpression>
#include <QTimeZone>

#include <cstdlib>

namespace {
constexpr qint64 second = QmxClock::nsPerSecond;
constexpr int longestFraction = 6; ///< digits: to the microsecond
constexpr int mostCounted = 60;    ///< frames a second, of any timecode

/// Nanoseconds of "250000" behind the point.
qint64 fraction(const QString &digits)
{
    return digits.leftJustified(longestFraction, QLatin1Char('0')).toLongLong() * 1000;
}

QDateTime local(qint64 wall)
{
    return QDateTime::fromMSecsSinceEpoch(wall / QmxClock::nsPerMillisecond);
}
} // namespace

qint64 QmxTakeMoment::nearest(qint64 nsOfDay, qint64 wallNow)
{
    const QTime time = QTime::fromMSecsSinceStartOfDay(int(nsOfDay / QmxClock::nsPerMillisecond));
    qint64 best = 0;
    for (const int days : {0, -1, 1}) {
        // By the calendar, since days of 23 and of 25 hours exist.
        const QDateTime moment(local(wallNow).date().addDays(days), time);
        const qint64 wall =
            moment.toMSecsSinceEpoch() * QmxClock::nsPerMillisecond + nsOfDay % QmxClock::nsPerMillisecond;
        if (days == 0 || std::llabs(wall - wallNow) < std::llabs(best - wallNow)) best = wall;
    }
    return best;
}

std::optional<QmxTakeMoment> QmxTakeMoment::parse(const QString &text, qint64 wallNow, QString *reason)
{
    QmxTakeMoment moment;
    if (text.isEmpty()) return moment;
    static const QRegularExpression timecodeForm(QStringLiteral("^\\d\\d:\\d\\d:\\d\\d[:;]\\d\\d$"));
    static const QRegularExpression timeForm(
        QStringLiteral("^(?:(\\d{4}-\\d\\d-\\d\\d)[T ])?(\\d\\d:\\d\\d:\\d\\d)(?:\\.(\\d{1,6}))?(Z?)$"));
    constexpr int timecodeLength = 11;
    const QString timecode = text.left(timecodeLength);
    const bool isTimecode = timecodeForm.match(timecode).hasMatch();
    if (isTimecode && QmxTimecode(timecode).isValid() && QmxTimecode(timecode).frames() < mostCounted) {
        moment.kind = Timecode;
        moment.timecode = QmxTimecode(timecode);
        if (text.size() == timecodeLength) return moment;
        const std::optional<QmxTakeMoment> about = parse(text.mid(timecodeLength + 1), wallNow, reason);
        if (text.at(timecodeLength) != QLatin1Char(' ') || !about || about->kind != TimeOfDay)
            return std::nullopt;
        moment.wall = about->wall;
        return moment;
    }
    const QRegularExpressionMatch match = timeForm.match(text);
    const QTime time = QTime::fromString(match.captured(2), QStringLiteral("HH:mm:ss"));
    const QString day = match.captured(1);
    const bool isUtc = !match.captured(4).isEmpty();
    const QDate date = QDate::fromString(day, Qt::ISODate);
    if (!match.hasMatch() || !time.isValid() || (!day.isEmpty() && !date.isValid()) ||
        (day.isEmpty() && isUtc)) {
        if (reason)
            *reason = QStringLiteral("takes a timecode such as 10:00:00:00, a time of day such as "
                                     "10:00:00 or 10:00:00.250, or a date with it, 2030-01-31T10:00:00");
        return std::nullopt;
    }
    moment.kind = TimeOfDay;
    const qint64 beyond = fraction(match.captured(3));
    if (day.isEmpty()) {
        moment.wall = nearest(time.msecsSinceStartOfDay() * QmxClock::nsPerMillisecond + beyond, wallNow);
    } else {
        const QDateTime named = isUtc ? QDateTime(date, time, QTimeZone::utc()) : QDateTime(date, time);
        moment.wall = named.toSecsSinceEpoch() * second + beyond;
    }
    return moment;
}

QString QmxTakeMoment::toText(qint64 wall)
{
    const QDateTime seconds = QDateTime::fromSecsSinceEpoch(wall / second).toUTC();
    return QStringLiteral("%1.%2Z").arg(seconds.toString(QStringLiteral("yyyy-MM-ddTHH:mm:ss")),
                                        QString::number(wall % second / 1000).rightJustified(6, '0'));
}
