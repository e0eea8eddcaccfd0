// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>

/// Who may use the file. A timed mutex of its own, because thread checkers understand its parts.
class StreamWriterLock
{
public:
    void lock()
    {
        std::unique_lock guard(_mutex);
        _free.wait(guard, [this] { return !_held; });
        _held = true;
    }
    bool try_lock_for(std::chrono::milliseconds time)
    {
        std::unique_lock guard(_mutex);
        if (!_free.wait_for(guard, time, [this] { return !_held; })) return false;
        _held = true;
        return true;
    }
    void unlock()
    {
        const std::lock_guard guard(_mutex);
        _held = false;
        _free.notify_one();
    }

private:
    std::mutex _mutex;
    std::condition_variable _free;
    bool _held = false;
};
