// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxhelpers.h"
#include "platform/qmx/core/qmxprioritymutex.h"

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <vector>

/// Lets the workers of a pool that have nothing to do help one that has. run() is for the pool's workers.
/// Allocates nothing a call.
class SharedWork : public QmxHelpers
{
public:
    /// The pool's mutex, and what its idle workers wait for.
    SharedWork(int workers, QmxPriorityMutex &mutex, std::condition_variable_any &wake);

    int threads() const override { return _workers; }
    bool anyIdle() const override { return _idle > 0; }
    void run(int count, void (*job)(void *context, int index, int thread), void *context) override;

    // For the pool, under its mutex.
    void setIdle(bool idle) { _idle += idle ? 1 : -1; }
    /// Somebody could be helped.
    bool isWanted() const { return !_open.empty(); }
    /// Helps until there is nothing left to begin; unlocks meanwhile.
    void help(std::unique_lock<QmxPriorityMutex> &lock);

private:
    struct Work
    {
        void takePart(int thread);

        const int count;
        void (*const job)(void *, int, int);
        void *const context;
        std::atomic<int> next = 0;
        int joined = 0;  ///< helpers that ever were
        int working = 0; ///< helpers that are
    };

    const int _workers;
    QmxPriorityMutex &_mutex;
    std::condition_variable_any &_wake;
    std::condition_variable_any _done;
    std::vector<Work *> _open; ///< where something may be left to begin
    std::atomic<int> _idle = 0;
};
