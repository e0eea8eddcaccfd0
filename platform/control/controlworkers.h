// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/control/control.h"
#include "platform/qmx/core/qmxtaskthread.h"

#include <functional>
#include <memory>
#include <vector>

/// Threads that perform verbs for a front whose own thread must not wait. As many verbs at once as there are
/// workers; one more is refused at once with the code "busy" (the policy of this queue: refuse). The first
/// worker is kept for what moves the transport, so that copies and questions never keep a stop waiting.
///
/// submit() from any thread. `answered` is called once for each request, on a worker or (busy) on the
/// caller's thread. The destructor ends waits, then joins.
class ControlWorkers
{
public:
    static constexpr int defaultCount = 6;

    /// Threads "NAME-verb-0" and on; `client` as for Control.
    ControlWorkers(const QString &name, const QString &client, int count = defaultCount);
    ~ControlWorkers();
    ControlWorkers(const ControlWorkers &) = delete;
    ControlWorkers &operator=(const ControlWorkers &) = delete;

    using Answered = std::function<void(const Answer &answer)>;
    void submit(Request request, Who who, Answered answered);
    /// Other work that waits for store or disk, with the Control of a worker; false when all are busy.
    bool post(std::function<void(Control &control)> work);
    int busy() const { return _busy; }

private:
    struct Worker;
    bool postFrom(size_t first, std::function<void(Control &control)> work);
    std::vector<std::unique_ptr<Worker>> _workers;
    std::atomic<int> _busy = 0;
};
