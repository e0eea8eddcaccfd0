// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/store/storebackend.h"

#include <condition_variable>
#include <memory>
#include <mutex>

/// A thread of a store's client and the connection that it works with. The thread owns a shared pointer to
/// this object, so that a store that hangs in the kernel can be left; the connection goes at the thread's
/// end.
class StoreThread : public std::enable_shared_from_this<StoreThread>
{
public:
    virtual ~StoreThread();
    StoreThread(const StoreThread &) = delete;
    StoreThread &operator=(const StoreThread &) = delete;

    /// Without a thread to be had (logged) nothing runs, and stop() returns at once.
    void start();
    /// Ends the thread, which need not be waited for.
    void askToStop();
    /// Ends the thread and waits for that.
    void stop(StoreDeadline until);

protected:
    StoreThread(const char *name, std::unique_ptr<StoreBackend> backend);

    /// The thread's work: returns when `_stopping` is set. Not locked.
    virtual void run() = 0;
    /// Makes run() look at `_stopping`. Locked; what waits for `_changed` is woken in any case.
    virtual void wake() const {}
    bool isStopping() const;

    std::unique_ptr<StoreBackend> _backend; ///< the thread's own

    mutable std::mutex _mutex; ///< of the fields below, and of what derived classes say
    std::condition_variable _changed;
    bool _stopping = false;
    bool _ended = true;

private:
    const char *const _name;
};
