// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/edges/qmxsource.h"
#include "tests/edges/pictures.h"

#include <gtest/gtest.h>

#include <QProcess>

#include <functional>
#include <sys/socket.h>

/// The ffmpeg program sending a clip over and over at its own speed, until it is killed.
class Sender
{
public:
    Sender(const QString &clip, const QString &address)
    {
        const bool isRtp = address.startsWith(QLatin1String("rtp"));
        _process.start(QStringLiteral("ffmpeg"),
                       QStringLiteral("-v error -re -stream_loop -1 -i %1 -c copy -f %2 %3?pkt_size=1316")
                           .arg(clip, QLatin1String(isRtp ? "rtp_mpegts" : "mpegts"), address)
                           .split(QLatin1Char(' ')));
    }
    ~Sender()
    {
        _process.kill();
        _process.waitForFinished();
    }

private:
    ChildProcess _process;
};

/// A source ticked by the machine's own clock.
class LiveInput
{
public:
    explicit LiveInput(const QString &locator)
        : _clock(std::make_shared<QmxRealClock>()), _ticks(QmxVideoRate(25), _clock->now())
    {
        QmxEnvironment environment = QmxEnvironment::current();
        environment.clock = _clock;
        _source = qmxCreateSource(locator, environment);
    }
    const QmxSourceFrame &next()
    {
        const QmxTick tick = _ticks.next();
        _clock->sleepUntil(tick.deadline);
        _frame = _source->take(tick);
        return _frame;
    }
    /// Ticks until it holds, at most `seconds`.
    bool until(const std::function<bool(const QmxSourceFrame &)> &predicate, int seconds)
    {
        for (int i = 0; i < seconds * 60; ++i)
            if (predicate(next())) return true;
        return false;
    }
    void setRate(const QmxVideoRate &rate) { _ticks.setRate(rate); }
    std::string status() const { return _source->statusText().toStdString(); }

private:
    std::shared_ptr<QmxClock> _clock;
    Ticks _ticks;
    std::unique_ptr<QmxSource> _source;
    QmxSourceFrame _frame;
};
