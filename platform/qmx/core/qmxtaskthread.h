// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxenvironment.h"

#include <QString>

#include <functional>
#include <memory>

/// A named thread that runs tasks in the order in which they were posted. Owner: whoever constructed it;
/// the destructor runs what is queued and joins. The queue is bounded; a full queue refuses (post()
/// returns false) and the caller decides; so does one for which the system has no thread (each post() asks
/// for it again). On a stepped clock the thread counts as busy from post() until its queue is empty, except
/// while a task sleeps on the clock. All members may be called from any thread; stop() and abandon() only by
/// the owner.
class QmxTaskThread
{
public:
    static constexpr int defaultBound = 1024;

    explicit QmxTaskThread(const QString &name, int bound = defaultBound,
                           const QmxEnvironment &environment = QmxEnvironment::current());
    ~QmxTaskThread();
    QmxTaskThread(const QmxTaskThread &) = delete;
    QmxTaskThread &operator=(const QmxTaskThread &) = delete;

    /// Queues a task; false when the queue is full or the thread is stopping.
    bool post(std::function<void()> task);
    /// Tasks queued or running.
    int pending() const;
    /// Runs what is queued, then ends and joins the thread. Again: no-op.
    void stop();
    /// Leaves a thread behind whose task hangs in the kernel: nothing more is run, the thread ends by
    /// itself when the task returns. Tasks must therefore own (by shared pointer) what they use.
    void abandon();

private:
    bool start();
    struct State;
    std::shared_ptr<State> _state;
};
