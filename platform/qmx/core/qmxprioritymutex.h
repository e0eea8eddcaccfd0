// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <pthread.h>

/// A mutex between threads of different priority: whoever holds it runs as urgently as the most urgent one
/// that waits for it, so that a coder with little to say never holds up the video clock for as long as others
/// keep it from running. For std::lock_guard, std::unique_lock and std::condition_variable_any.
class QmxPriorityMutex
{
public:
    QmxPriorityMutex()
    {
        pthread_mutexattr_t attributes;
        pthread_mutexattr_init(&attributes);
        pthread_mutexattr_setprotocol(&attributes, PTHREAD_PRIO_INHERIT);
        pthread_mutex_init(&_mutex, &attributes);
        pthread_mutexattr_destroy(&attributes);
    }
    ~QmxPriorityMutex() { pthread_mutex_destroy(&_mutex); }
    QmxPriorityMutex(const QmxPriorityMutex &) = delete;
    QmxPriorityMutex &operator=(const QmxPriorityMutex &) = delete;

    void lock() { pthread_mutex_lock(&_mutex); }
    bool try_lock() { return pthread_mutex_trylock(&_mutex) == 0; }
    void unlock() { pthread_mutex_unlock(&_mutex); }

private:
    pthread_mutex_t _mutex;
};
