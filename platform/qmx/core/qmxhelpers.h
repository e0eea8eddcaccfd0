// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

/// Threads that may work at the parts of one job together with the caller. Any thread that the maker of the
/// object names.
class QmxHelpers
{
public:
    virtual ~QmxHelpers() = default;
    /// Most threads that work at once, the caller's included.
    virtual int threads() const = 0;
    /// Whether somebody would help now; may be wrong by the time that run() is called.
    virtual bool anyIdle() const = 0;
    /// Calls job(context, index, thread) for every index from 0 to count - 1, `thread` below threads() and
    /// never the same for two calls at once. Returns when all are done; waits for nobody who has not begun.
    virtual void run(int count, void (*job)(void *context, int index, int thread), void *context) = 0;
};
