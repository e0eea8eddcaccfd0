// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtGlobal>

#include <atomic>
#include <chrono>
#include <memory>
#include <string>

/// A named mutex between processes that the death of its holder does not block.
///
/// The named mutex of the library does not know who holds it, so it is taken along but decides nothing. Who
/// holds this one says `owner`, a word in the memory that it protects: whoever sets it from 0, or from a
/// process that has ended, to its own mark has the mutex. So a process may die, or be stopped for any time,
/// between any two of these steps. One thread at a time.
class SharedMutex
{
public:
    explicit SharedMutex(const std::string &name);
    ~SharedMutex();
    SharedMutex(const SharedMutex &) = delete;
    SharedMutex &operator=(const SharedMutex &) = delete;

    /// False when somebody who lives held it all the time.
    bool lock(std::atomic_ref<quint64> owner, std::chrono::milliseconds wait);
    void unlock(std::atomic_ref<quint64> owner);

private:
    class Handle;
    std::unique_ptr<Handle>
        _handle; ///< null: it cannot be had, or is another channel's; the owner alone decides then
    const quint64 _self;
};

/// Gives the mutex back at the end of a block.
class SharedMutexHolder
{
public:
    SharedMutexHolder(SharedMutex &mutex, std::atomic_ref<quint64> owner) : _mutex(mutex), _owner(owner) {}
    ~SharedMutexHolder() { _mutex.unlock(_owner); }
    SharedMutexHolder(const SharedMutexHolder &) = delete;
    SharedMutexHolder &operator=(const SharedMutexHolder &) = delete;

private:
    SharedMutex &_mutex;
    std::atomic_ref<quint64> _owner;
};
