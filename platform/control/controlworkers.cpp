// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/control/controlworkers.h"

struct ControlWorkers::Worker
{
    Worker(const QString &name, const QString &client) : control(client), thread(name, 2) {}
    std::atomic<bool> isTaken = false;
    Control control;
    QmxTaskThread thread; ///< last: ends before what it uses
};

ControlWorkers::ControlWorkers(const QString &name, const QString &client, int count)
{
    for (int i = 0; i < count; ++i)
        _workers.push_back(std::make_unique<Worker>(QStringLiteral("%1-verb-%2").arg(name).arg(i), client));
}

ControlWorkers::~ControlWorkers()
{
    for (const auto &worker : _workers)
        worker->control.giveUp();
}

bool ControlWorkers::post(std::function<void(Control &control)> work)
{
    constexpr size_t behindTheReserve = 1;
    return postFrom(behindTheReserve, std::move(work));
}

bool ControlWorkers::postFrom(size_t first, std::function<void(Control &control)> work)
{
    for (size_t i = first; i < _workers.size(); ++i) {
        const auto &worker = _workers[i];
        if (worker->isTaken.exchange(true)) continue;
        ++_busy;
        const bool isPosted =
            worker->thread.post([this, one = worker.get(), todo = std::move(work)]() mutable {
                todo(one->control);
                todo = {}; // what it holds goes before the next one comes
                --_busy;
                one->isTaken = false;
            });
        if (!isPosted) { // only while everything ends
            --_busy;
            worker->isTaken = false;
        }
        return isPosted;
    }
    return false;
}

void ControlWorkers::submit(Request request, Who who, Answered answered)
{
    const VerbRow *row = findVerb(request.verb);
    const bool mayUseReserve = row && row->has(VerbRow::MovesTransport);
    const bool isPosted =
        postFrom(mayUseReserve ? 0 : 1, [request = std::move(request), who = std::move(who), answered](
                                            Control &control) { answered(control.perform(request, who)); });
    if (!isPosted)
        answered(Answer::refused(Cause::Busy, "busy", "too many commands wait for their effect already",
                                 "try again in a moment"));
}
