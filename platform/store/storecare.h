// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/store/storebackend.h"

#include <condition_variable>
#include <mutex>

/// Upkeep of a store (checkpoints, backups) on the thread "store-care", about once a second, so that no
/// write ever waits for it.
///
/// The thread owns a shared pointer to this object, so that a store that hangs in the kernel can be left.
class StoreCare : public std::enable_shared_from_this<StoreCare>
{
public:
    explicit StoreCare(std::unique_ptr<StoreBackend> backend);
    void start();
    /// Ends the thread, which need not be waited for.
    void askToStop();
    /// Ends the thread and waits for that.
    void stop(StoreDeadline until);

private:
    void run();

    std::unique_ptr<StoreBackend> _backend;
    std::mutex _mutex;
    std::condition_variable _changed;
    bool _stopping = false;
    bool _ended = true;
};
