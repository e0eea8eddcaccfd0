// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/product/transferpace.h"

#include "platform/qmx/core/qmxcounters.h"

namespace {
/// Frames that may wait for the disk: a flush makes a few wait.
constexpr qint64 fewFrames = 8;
constexpr std::chrono::milliseconds pauseTime(100);
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
    clock.sleepFor(std::chrono::duration_cast<QmxClock::Duration>(
        std::chrono::duration<double>(double(bytes) / busyRate)));
    while (_isBusy() && framesWait())
        clock.sleepFor(pauseTime);
}
