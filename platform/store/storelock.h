// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/store/storefiles.h"

#include <atomic>
#include <chrono>
#include <optional>
#include <string>

/// The lock file beside a store: held around every write and every checkpoint, by one connection at a time
/// over all processes. The kernel releases it when its holder dies. One thread at a time.
class StoreLock
{
public:
    explicit StoreLock(std::string path);
    ~StoreLock();
    StoreLock(const StoreLock &) = delete;
    StoreLock &operator=(const StoreLock &) = delete;

    /// True when the lock is held; false after `within`, when `interrupted` has become true, or when
    /// the file cannot be made (then error() tells the errno).
    bool acquire(std::chrono::milliseconds within, const std::atomic<bool> *interrupted);
    void release();
    int error() const { return _error; }

private:
    bool openFile();
    bool isAtPath() const;

    std::string _path;
    int _fd = -1;
    std::optional<StoreFiles::Identity> _identity; ///< of the open file
    int _error = 0;
};

/// Releases when it goes.
class StoreLockHolder
{
public:
    explicit StoreLockHolder(StoreLock &lock) : _lock(lock) {}
    ~StoreLockHolder() { _lock.release(); }
    StoreLockHolder(const StoreLockHolder &) = delete;
    StoreLockHolder &operator=(const StoreLockHolder &) = delete;

private:
    StoreLock &_lock;
};
