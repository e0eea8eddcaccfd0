// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/product/transferpace.h"

#include "platform/qmx/core/qmxcounters.h"

namespace {
/// Frames that may wait for the disk: a flush makes a few wait.
constexpr qint64 fewFrames = 8;
constexpr qint64 pauseTime = 100 * QmxClock::nsPerMillisecond;
} // namespace

TransferPace::TransferPace(const QmxEnvironment &environment, std::function<bool()> isBusy)
    : _environment(environment), _isBusy(std::move(isBusy))
{}

bool TransferPace::framesWait() const
{
    // Opened anew: the recorder may have been started since.
    QmxCountersReader counters;
    return counters.open() && counters.value(QStringLiteral("writer_queue")) > fewFrames;
}

void TransferPace::wait(qint64 bytes)
{
    if (!_isBusy()) return;
    QmxClock &clock = *_environment.clock;
    clock.sleepUntil(clock.now() + qint64(double(bytes) / busyRate * double(QmxClock::nsPerSecond)));
    while (_isBusy() && framesWait())
        clock.sleepUntil(clock.now() + pauseTime);
}
