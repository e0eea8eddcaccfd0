// SPDX-License-Identifier: GPL-3.0-or-later
#include "companions/panel/transferpace.h"

namespace {
constexpr qint64 pauseTime = 100 * QmxClock::nsPerMillisecond;
}

bool TransferPace::isBusy() const
{
    const auto state = _watch.state();
    return state->running && state->status != QLatin1String("stopped") && !_isEnded;
}

bool TransferPace::framesWait() const
{
    // Opened anew: the recorder may have been started since.
    QmxCountersReader counters;
    return counters.open() && counters.value(QStringLiteral("writer_queue")) > fewFrames;
}

void TransferPace::wait(qint64 bytes)
{
    if (!isBusy()) return;
    _environment.clock->sleepUntil(_environment.clock->now() +
                                   qint64(double(bytes) / busyRate * double(QmxClock::nsPerSecond)));
    while (isBusy() && framesWait())
        _environment.clock->sleepUntil(_environment.clock->now() + pauseTime);
}
