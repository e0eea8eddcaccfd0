// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QMetaType>
#include <QString>

/// A timecode: digits, the rate that they count at, drop-frame counting or not. A value.
///
/// Counting follows SMPTE ST 12-1: with the drop flag two (rate 30) or four (rate 60) frame numbers are
/// left out at the start of every minute that is no multiple of ten; at other rates the flag changes only
/// the text. A day has 24 hours and wraps. Rate 0 (not known yet) is harmless everywhere.
class QmxTimecode
{
public:
    QmxTimecode() = default;
    /// Not valid when a digit is out of range (hours 0 to 23, minutes and seconds 0 to 59, frames 0 to 99).
    QmxTimecode(int hours, int minutes, int seconds, int frames, int fps, int drop);
    /// The timecode `frameNumber` frames after 00:00:00:00, in either direction; not valid when fps < 1.
    QmxTimecode(int frameNumber, int fps, bool drop);
    /// "hh:mm:ss:ff", ";" (or ".") before the frames for drop frame; the rate is 0. Bad text: not valid.
    explicit QmxTimecode(const QString &text);
    /// Local time of day of the environment's clock.
    static QmxTimecode fromTimeOfDay(int fps, bool drop);

    bool isValid() const { return _valid; }
    void setValid(bool valid) { _valid = valid; }
    int hours() const { return _hours; }
    int minutes() const { return _minutes; }
    int seconds() const { return _seconds; }
    int frames() const { return _frames; }
    // The setters change one field and nothing else: digits stay what they are under another rate.
    void setHours(int hours) { _hours = hours; }
    void setMinutes(int minutes) { _minutes = minutes; }
    void setSeconds(int seconds) { _seconds = seconds; }
    void setFrames(int frames) { _frames = frames; }
    int fps() const { return _fps; }
    void setFPS(int fps) { _fps = fps; }
    bool isDropFrame() const { return _drop; }
    void setDropFrame(bool drop) { _drop = drop; }

    /// Frames since 00:00:00:00; 0 when not valid or at rate 0. Digits that the rate or drop-frame counting
    /// does not have give the last frame before them or the first one after them: a frame digit beyond the
    /// rate counts as the second's last frame, so that counting goes on with the next second.
    int toFrameNumber() const;
    /// This timecode moved on by `frames` frames at its own rate; itself when not valid or at rate 0.
    QmxTimecode advanced(int frames) const;
    /// Compares the four digits only.
    bool timecodeMatches(const QmxTimecode &other) const;
    /// "hh:mm:ss:ff" (";" before drop frames), "--:--:--:--" when not valid.
    QString toString() const;

    /// Two that are not valid are equal; valid ones by digits, drop flag and rate.
    friend bool operator==(const QmxTimecode &a, const QmxTimecode &b);

private:
    int _hours = 0;
    int _minutes = 0;
    int _seconds = 0;
    int _frames = 0;
    int _fps = 0;
    bool _drop = false;
    bool _valid = false;
};

Q_DECLARE_METATYPE(QmxTimecode)
