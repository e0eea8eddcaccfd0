// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/edges/qmxsink.h"
#include "platform/qmx/edges/qmxsource.h"
#include "tests/support/testfiles.h"

#include <QString>

/// Ticks as a device makes them: ideal deadlines, rounded to nanoseconds.
class Ticks
{
public:
    explicit Ticks(const QmxVideoRate &rate, qint64 start = 1'000'000'000) : _start(start)
    {
        _tick.rate = rate;
    }

    QmxTick next()
    {
        _tick.deadline = _start + _sinceStart * QmxClock::nsPerSecond * _tick.rate.den() / _tick.rate.num();
        ++_sinceStart;
        QmxTick result = _tick;
        ++_tick.index;
        return result;
    }
    /// Goes on at another rate, one new period after the last tick.
    void setRate(const QmxVideoRate &rate)
    {
        _start = _tick.deadline;
        _sinceStart = 1;
        _tick.rate = rate;
    }

private:
    QmxTick _tick;
    qint64 _start;
    qint64 _sinceStart = 0;
};

/// Frames for an output with the generator's pictures and its sound, one a tick.
class GeneratedFrames
{
public:
    explicit GeneratedFrames(const QString &format, int pattern = 800,
                             const QmxEnvironment &environment = QmxEnvironment::current(),
                             qint64 start = 1'000'000'000);
    /// The next one; what the test has set besides stays.
    const QmxOutputFrame &next();

    QmxOutputFrame frame;

private:
    Ticks _ticks;
    std::unique_ptr<QmxSource> _generator;
};

/// A clip of the generator's pictures 0 to frames - 1 and its sound (eight channels), coded by the ffmpeg
/// program with these arguments.
void makeClip(const QString &path, const QString &format, int frames, const QStringList &coding);
