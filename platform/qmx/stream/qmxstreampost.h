// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QObject>

#include <functional>
#include <memory>
#include <mutex>

/// The way from a thread of a stream back to the event loop: tasks become posted events of one object, in
/// order. After detach() neither later tasks nor those still waiting are run, so a thread that is left
/// behind in the kernel can talk as late as it likes. A handle; copies share. post() any thread, detach()
/// event loop.
class QmxStreamPost
{
public:
    explicit QmxStreamPost(QObject *target) : _state(std::make_shared<State>()) { _state->target = target; }

    void post(std::function<void()> task) const
    {
        const std::lock_guard lock(_state->mutex);
        if (!_state->target) return;
        QMetaObject::invokeMethod(
            _state->target,
            [state = _state, task = std::move(task)] {
                if (state->target) task();
            },
            Qt::QueuedConnection);
    }

    void detach()
    {
        const std::lock_guard lock(_state->mutex);
        _state->target = nullptr;
    }

private:
    struct State
    {
        std::mutex mutex;
        QObject *target = nullptr; ///< written on the event loop only
    };
    std::shared_ptr<State> _state;
};
