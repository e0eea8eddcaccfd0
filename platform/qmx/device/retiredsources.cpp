// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/device/retiredsources.h"

#include <chrono>
#include <thread>

namespace {
constexpr int queueBound = 64;
constexpr std::chrono::seconds endWait(3);
constexpr std::chrono::milliseconds lookInterval(5);
} // namespace

RetiredSources::RetiredSources(const QmxEnvironment &environment)
    : _stepped(environment.clock->isStepped()),
      _thread(QStringLiteral("lumen-retired"), queueBound, environment)
{}

RetiredSources::~RetiredSources()
{
    if (_stepped) return; // a source that waits for the clock gets its time from the thread's end
    const auto end = std::chrono::steady_clock::now() + endWait;
    while (_thread.pending() > 0 && std::chrono::steady_clock::now() < end)
        std::this_thread::sleep_for(lookInterval);
    if (_thread.pending() > 0) _thread.abandon();
}

void RetiredSources::take(std::unique_ptr<QmxSource> source)
{
    // Nobody but the task may hold it, or whoever lets it go last would be the one who waits.
    if (source) _thread.post([old = std::shared_ptr<QmxSource>(std::move(source))] {});
}
