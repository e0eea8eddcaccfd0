// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/product/recordschedule.h"

#include "platform/qmx/core/qmxclock.h"
#include "platform/qmx/core/qmxtakemoment.h"

#include <QDateTime>
#include <QStringList>

#include <algorithm>
#include <optional>

namespace {

constexpr std::int64_t second = QmxClock::nsPerSecond;
constexpr std::int64_t longestAhead = 366 * 24 * 3600 * second;
/// A start that is meant to be now.
constexpr std::int64_t soon = 2 * second;
constexpr const char *none = "-";

QString orNone(const std::string &text)
{
    return text.empty() ? QString::fromLatin1(none) : QString::fromStdString(text);
}

QString localText(std::int64_t wall, const char *form)
{
    return QDateTime::fromMSecsSinceEpoch(wall / QmxClock::nsPerMillisecond)
        .toString(QString::fromLatin1(form));
}

struct Point
{
    std::int64_t wall = 0;
    std::string timecode;
};

/// What an operator wrote; of a time without a date the next one after `after`.
std::optional<Point> read(const std::string &text, std::int64_t after, std::string &reason)
{
    constexpr int dateLength = 10;
    QString time = QString::fromStdString(text);
    QDate date;
    if (time.size() > dateLength && time.at(4) == QLatin1Char('-')) {
        date = QDate::fromString(time.left(dateLength), Qt::ISODate);
        // A date before a time is the moment's own; before a timecode it says which day's.
        if (!QmxTakeMoment::parse(time, after)) time = time.mid(dateLength + 1);
    }
    QString why;
    const std::optional<QmxTakeMoment> moment = QmxTakeMoment::parse(time, after, &why);
    if (!moment || moment->kind == QmxTakeMoment::None ||
        (time != QString::fromStdString(text) && !date.isValid())) {
        reason = "'" + text + "' is no time of a take; it " + why.toStdString();
        if (why.isEmpty()) reason = "'" + text + "' is no time of a take";
        return std::nullopt;
    }
    Point point;
    point.wall = moment->wall;
    if (moment->kind == QmxTakeMoment::Timecode) {
        if (moment->wall != 0) {
            reason = "'" + text + "' says two times; give one";
            return std::nullopt;
        }
        point.timecode = time.toStdString();
        const QmxTimecode &code = moment->timecode;
        const qint64 seconds = (code.hours() * 60 + code.minutes()) * qint64(60) + code.seconds();
        const qint64 about =
            date.isValid() ? QDateTime(date, QTime(12, 0)).toMSecsSinceEpoch() * QmxClock::nsPerMillisecond
                           : after;
        point.wall = QmxTakeMoment::nearest(seconds * second, about);
    }
    if (!date.isValid() && point.wall <= after) {
        const QDateTime was = QDateTime::fromSecsSinceEpoch(point.wall / second);
        point.wall = was.addDays(1).toSecsSinceEpoch() * second + point.wall % second;
    }
    return point;
}

std::string whyNot(const ScheduledTake &take, const std::vector<ScheduledTake> &others, std::int64_t now)
{
    if (take.start < now)
        return "the start is past; the clock is " + localText(now, "yyyy-MM-dd HH:mm:ss").toStdString();
    if (take.start - now > longestAhead) return "the start is more than a year away";
    if (take.end != 0 && take.end - take.start < second) return "the end is not after the start";
    constexpr std::int64_t gap = std::chrono::nanoseconds(RecordSchedule::gap).count();
    for (const ScheduledTake &other : others) {
        const bool before = other.end != 0 && other.end + gap <= take.start;
        const bool after = take.end != 0 && take.end + gap <= other.start;
        if (before || after) continue;
        std::string reason = "it would meet " + other.describe();
        if (other.end == 0 || take.end == 0)
            return reason + "; a take before another one needs an end (--until)";
        return reason + "; " + std::to_string(RecordSchedule::gap.count()) + " s must lie between two takes";
    }
    return {};
}

} // namespace

std::string ScheduledTake::startText() const
{
    const std::string moment = QmxTakeMoment::toText(start).toStdString();
    return startTimecode.empty() ? moment : startTimecode + " " + moment;
}

std::string ScheduledTake::endText() const
{
    if (end == 0) return {};
    const std::string moment = QmxTakeMoment::toText(end).toStdString();
    return endTimecode.empty() ? moment : endTimecode + " " + moment;
}

std::string ScheduledTake::describe() const
{
    const auto time = [](std::int64_t wall, const std::string &timecode, bool withDay) {
        QString text = withDay ? localText(wall, "yyyy-MM-dd ") : QString();
        text += timecode.empty() ? localText(wall, "HH:mm:ss") : QString::fromStdString(timecode);
        if (timecode.empty() && wall % second != 0)
            text += QStringLiteral(".%1").arg(wall % second / 1000, 6, 10, QLatin1Char('0'));
        return text;
    };
    QString text = QStringLiteral("take %1, %2").arg(number).arg(time(start, startTimecode, true));
    if (end == 0) return (text + QStringLiteral(" until stopped")).toStdString();
    const bool otherDay = localText(start, "yyyyMMdd") != localText(end, "yyyyMMdd");
    return (text + QStringLiteral(" to ") + time(end, endTimecode, otherDay)).toStdString();
}

RecordSchedule RecordSchedule::parse(const std::string &text)
{
    RecordSchedule schedule;
    for (const QString &line : QString::fromStdString(text).split(QLatin1Char('\n'), Qt::SkipEmptyParts)) {
        const QStringList words = line.split(QLatin1Char(' '));
        constexpr qsizetype fields = 6;
        if (words.size() != fields || schedule.takes.size() >= most) continue;
        const auto start = QmxTakeMoment::parse(words[1], 0);
        const auto end = QmxTakeMoment::parse(words[2] == none ? QString() : words[2], 0);
        if (!start || !end || start->kind != QmxTakeMoment::TimeOfDay) continue;
        ScheduledTake take;
        take.number = words[0].toUInt();
        take.start = start->wall;
        take.end = end->wall;
        if (words[3] != none) take.startTimecode = words[3].toStdString();
        if (words[4] != none) take.endTimecode = words[4].toStdString();
        take.begun = words[5] != none;
        take.recorder = words[5].toInt();
        if (take.number > 0) schedule.takes.push_back(take);
    }
    return schedule;
}

std::string RecordSchedule::print() const
{
    QStringList lines;
    for (const ScheduledTake &take : takes)
        lines.append(QStringLiteral("%1 %2 %3 %4 %5 %6")
                         .arg(QString::number(take.number), QmxTakeMoment::toText(take.start),
                              take.end == 0 ? QString::fromLatin1(none) : QmxTakeMoment::toText(take.end),
                              orNone(take.startTimecode), orNone(take.endTimecode),
                              take.begun ? QString::number(take.recorder) : QString::fromLatin1(none)));
    return lines.join(QLatin1Char('\n')).toStdString();
}

unsigned RecordSchedule::add(const std::string &start, const std::string &end, std::int64_t now,
                             std::string &reason)
{
    ScheduledTake take;
    take.start = now + soon;
    if (!start.empty()) {
        const std::optional<Point> point = read(start, now, reason);
        if (!point) return 0;
        take.start = point->wall;
        take.startTimecode = point->timecode;
    }
    if (!end.empty()) {
        const std::optional<Point> point = read(end, take.start, reason);
        if (!point) return 0;
        take.end = point->wall;
        take.endTimecode = point->timecode;
    }
    reason = whyNot(take, takes, now);
    if (reason.empty() && takes.size() >= most)
        reason = "there are " + std::to_string(most) + " already; cancel one (xpctl schedule cancel N)";
    if (!reason.empty()) return 0;
    for (const ScheduledTake &other : takes)
        take.number = std::max(take.number, other.number);
    ++take.number;
    takes.push_back(take);
    std::sort(takes.begin(), takes.end(),
              [](const ScheduledTake &a, const ScheduledTake &b) { return a.start < b.start; });
    return take.number;
}

bool RecordSchedule::cancel(unsigned number, std::string &reason)
{
    if (std::erase_if(takes, [number](const ScheduledTake &take) { return take.number == number; }) > 0)
        return true;
    reason = "there is no take " + std::to_string(number) + " in the schedule; `xpctl schedule` lists them";
    return false;
}
