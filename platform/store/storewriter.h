// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/store/deliverygate.h"
#include "platform/store/storememory.h"
#include "platform/store/storestate.h"
#include "platform/store/storethread.h"

#include <deque>

/// The queue of writes of a client that must not wait, and the thread "store-write" that commits them in
/// order. A write that cannot be committed now (locked, full, unreachable store) stays first in the queue and
/// is tried again. The queue is bounded; a full one refuses.
class StoreWriter : public StoreThread
{
public:
    static constexpr std::size_t bound = 4096;

    StoreWriter(std::unique_ptr<StoreBackend> backend, const StoreContext &context,
                std::shared_ptr<StoreMemory> memory, std::shared_ptr<StoreState> state,
                std::shared_ptr<DeliveryGate> gate);

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
    void run() override;
    void commit(std::unique_lock<std::mutex> &lock);

    const StoreContext _context;
    const std::shared_ptr<StoreMemory> _memory;
    const std::shared_ptr<StoreState> _state;
    const std::shared_ptr<DeliveryGate> _gate;

    // Under the thread's mutex.
    std::deque<Item> _queue;
    int _givenUp = 0; ///< how often
};
