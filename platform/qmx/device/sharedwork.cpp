// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/device/sharedwork.h"

#include <algorithm>

SharedWork::SharedWork(int workers, QmxPriorityMutex &mutex, std::condition_variable_any &wake)
    : _workers(workers), _mutex(mutex), _wake(wake)
{
    _open.reserve(size_t(workers));
}

void SharedWork::Work::takePart(int thread)
{
    for (int i = next++; i < count; i = next++)
        job(context, i, thread);
}

void SharedWork::run(int count, void (*job)(void *, int, int), void *context)
{
    Work work{count, job, context};
    {
        std::lock_guard lock(_mutex);
        _open.push_back(&work);
    }
    const int wanted = std::min({count - 1, _workers - 1, int(_idle)});
    for (int i = 0; i < wanted; ++i)
        _wake.notify_one();
    work.takePart(0);
    std::unique_lock lock(_mutex);
    std::erase(_open, &work);
    _done.wait(lock, [&] { return work.working == 0; });
}

void SharedWork::help(std::unique_lock<QmxPriorityMutex> &lock)
{
    Work &work = *_open.front();
    const int thread = ++work.joined;
    ++work.working;
    lock.unlock();
    work.takePart(thread);
    lock.lock();
    std::erase(_open, &work);
    if (--work.working == 0) _done.notify_all();
}
