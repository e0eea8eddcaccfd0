// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/core/qmxtimecode.h"

#include "platform/qmx/core/qmxenvironment.h"
#include "platform/qmx/core/qmxpackedtimecode.h"

#include <QStringView>

#include <ctime>

namespace {

constexpr int minutesPerHour = 60;
constexpr int secondsPerMinute = 60;
constexpr int hoursPerDay = 24;
constexpr int minutesPerDay = hoursPerDay * minutesPerHour;

/// Frame numbers left out at the start of a minute (SMPTE ST 12-1); 0 without drop-frame counting.
int droppedPerMinute(int fps, bool drop)
{
    if (!drop) return 0;
    return fps == 30 ? 2 : fps == 60 ? 4 : 0;
}

/// The frame number of digits that are `minute` minutes after midnight, as if no number of that minute were
/// left out: the seconds and frames of the minute can be added to it.
int minuteStart(int minute, int fps, int dropped)
{
    return minute * secondsPerMinute * fps - dropped * (minute - minute / 10);
}

} // namespace

QmxTimecode::QmxTimecode(int hours, int minutes, int seconds, int frames, int fps, int drop)
    : _hours(hours), _minutes(minutes), _seconds(seconds), _frames(frames), _fps(fps), _drop(drop != 0)
{
    constexpr int largestFrameDigits = 99;
    using namespace QmxPackedTimecode;
    if (hours >= marker && hours < 2 * marker && minutes == 0 && seconds == 0 && frames == 0) {
        _hours = (hours - marker) >> hoursAt;
        _minutes = minutes = hours >> minutesAt & sixBits;
        _seconds = seconds = hours >> secondsAt & sixBits;
        _frames = frames = hours & sevenBits;
        hours = _hours;
    }
    _valid = hours >= 0 && hours < hoursPerDay && minutes >= 0 && minutes < minutesPerHour && seconds >= 0 &&
             seconds < secondsPerMinute && frames >= 0 && frames <= largestFrameDigits;
}

QmxTimecode::QmxTimecode(int frameNumber, int fps, bool drop) : _fps(fps), _drop(drop)
{
    if (fps < 1) return;
    const int dropped = droppedPerMinute(fps, drop);
    const int day = minuteStart(minutesPerDay, fps, dropped);
    int rest = frameNumber % day;
    if (rest < 0) rest += day;

    // Ten minutes have one full minute and nine short ones; then the minutes within.
    const int tenMinutes = minuteStart(10, fps, dropped);
    const int fullMinute = secondsPerMinute * fps;
    int minute = rest / tenMinutes * 10;
    rest %= tenMinutes;
    if (rest >= fullMinute) {
        const int shortMinute = fullMinute - dropped;
        minute += 1 + (rest - fullMinute) / shortMinute;
        rest = (rest - fullMinute) % shortMinute + dropped;
    }
    _hours = minute / minutesPerHour;
    _minutes = minute % minutesPerHour;
    _seconds = rest / fps;
    _frames = rest % fps;
    _valid = true;
}

QmxTimecode::QmxTimecode(const QString &text)
{
    // Exactly dd:dd:dd?dd; anything else stays not valid.
    constexpr int length = 11;
    const QStringView view = QStringView(text).trimmed();
    if (view.size() != length) return;
    int digits[4] = {};
    for (int i = 0; i < length; ++i) {
        const QChar c = view[i];
        if (i % 3 == 2) {
            const bool beforeFrames = i == length - 3;
            if (c != u':' && !(beforeFrames && (c == u';' || c == u'.'))) return;
        } else if (c >= u'0' && c <= u'9') {
            digits[i / 3] = digits[i / 3] * 10 + (c.unicode() - u'0');
        } else {
            return;
        }
    }
    *this = QmxTimecode(digits[0], digits[1], digits[2], digits[3], 0, view[length - 3] != u':');
}

QmxTimecode QmxTimecode::fromTimeOfDay(int fps, bool drop)
{
    const qint64 wall = QmxEnvironment::current().clock->wallTime();
    const time_t seconds = wall / QmxClock::nsPerSecond;
    struct tm local = {};
    localtime_r(&seconds, &local);
    const qint64 rest = wall % QmxClock::nsPerSecond;
    const int second = qMin(local.tm_sec, secondsPerMinute - 1); // a leap second is no digit of a timecode
    if (droppedPerMinute(fps, drop) == 0)
        return QmxTimecode(local.tm_hour, local.tm_min, second,
                           int(rest * qMax(fps, 0) / QmxClock::nsPerSecond), fps, drop);
    // Drop-frame counting leaves out one number in a thousand: that many a day has. Real frames, at 1000/1001
    // of the rate, are some more; counted by them the numbers of a day would be used up before midnight and
    // its first ones would come twice.
    const qint64 day = (qint64(local.tm_hour) * minutesPerHour + local.tm_min) * secondsPerMinute + second;
    const qint64 elapsed = day * QmxClock::nsPerSecond + rest;
    return QmxTimecode(int(elapsed * fps / 1000 * 999 / QmxClock::nsPerSecond), fps, drop);
}

int QmxTimecode::toFrameNumber() const
{
    if (!_valid || _fps < 1) return 0;
    const int dropped = droppedPerMinute(_fps, _drop);
    const int minute = _hours * minutesPerHour + _minutes;
    int frames = qMin(_frames, _fps - 1);
    // Numbers that are left out mean the first one that is not.
    if (minute % 10 != 0 && _seconds == 0) frames = qMax(frames, dropped);
    return minuteStart(minute, _fps, dropped) + _seconds * _fps + frames;
}

QmxTimecode QmxTimecode::advanced(int frames) const
{
    if (!_valid || _fps < 1) return *this;
    return QmxTimecode(toFrameNumber() + frames, _fps, _drop);
}

bool QmxTimecode::timecodeMatches(const QmxTimecode &other) const
{
    return _hours == other._hours && _minutes == other._minutes && _seconds == other._seconds &&
           _frames == other._frames;
}

QString QmxTimecode::toString() const
{
    if (!_valid) return QStringLiteral("--:--:--:--");
    return QString::asprintf("%02hhd:%02hhd:%02hhd%c%02hhd", static_cast<signed char>(_hours),
                             static_cast<signed char>(_minutes), static_cast<signed char>(_seconds),
                             _drop ? ';' : ':', static_cast<signed char>(_frames));
}

bool operator==(const QmxTimecode &a, const QmxTimecode &b)
{
    if (a._valid != b._valid) return false;
    return !a._valid || (a.timecodeMatches(b) && a._drop == b._drop && a._fps == b._fps);
}
