// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/store/deliverygate.h"
#include "platform/store/storebackend.h"
#include "platform/store/storememory.h"
#include "platform/store/storestate.h"

#include <condition_variable>
#include <deque>
#include <mutex>

/// The queue of writes of a client that must not wait, and the thread "store-write" that commits them in
/// order. A write that cannot be committed now (locked, full, unreachable store) stays first in the queue and
/// is tried again. The queue is bounded; a full one refuses.
///
/// The thread owns a shared pointer to this object, so that a store that hangs in the kernel can be left.
class StoreWriter : public std::enable_shared_from_this<StoreWriter>
{
public:
    static constexpr std::size_t bound = 4096;

    StoreWriter(std::unique_ptr<StoreBackend> backend, const StoreContext &context,
                std::shared_ptr<StoreMemory> memory, std::shared_ptr<StoreState> state,
                std::shared_ptr<DeliveryGate> gate);

    void start();
    /// False when the queue is full.
    bool queue(const StoreWrite &write);
    int pending() const;
    /// Waits until the queue is empty; false: it is not.
    bool waitUntilEmpty(StoreDeadline until);
    /// Forgets what is queued; it is lost, and logged.
    void giveUp();
    /// Ends the thread and waits for that, then gives up what is still queued.
    void stop(StoreDeadline until);

private:
    struct Item
    {
        StoreWrite write;
        std::shared_ptr<void> token; ///< keeps a stepped clock still
    };
    void run();
    void commit(std::unique_lock<std::mutex> &lock);

    std::unique_ptr<StoreBackend> _backend;
    const StoreContext _context;
    const std::shared_ptr<StoreMemory> _memory;
    const std::shared_ptr<StoreState> _state;
    const std::shared_ptr<DeliveryGate> _gate;

    mutable std::mutex _mutex;
    std::condition_variable _changed;
    std::deque<Item> _queue;
    int _givenUp = 0; ///< how often
    bool _stopping = false;
    bool _ended = true;
};
