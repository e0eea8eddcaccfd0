// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/core/qmxthreads.h"

#include "platform/qmx/core/qmxthreadname.h"

#include <cerrno>
#include <condition_variable>
#include <system_error>

/// A thread that waits for something to do. Its end of the hand-over outlives both sides.
struct QmxThreads::Spare
{
    struct Handover
    {
        std::mutex mutex;
        std::condition_variable given;
        std::function<void()> run;
        bool isGiven = false;
    };

    void give(std::function<void()> run) const
    {
        const std::lock_guard lock(handover->mutex);
        handover->run = std::move(run);
        handover->isGiven = true;
        handover->given.notify_one();
    }
    static void wait(const std::shared_ptr<Handover> &handover)
    {
        std::unique_lock lock(handover->mutex);
        handover->given.wait(lock, [&handover] { return handover->isGiven; });
        const std::function<void()> run = std::move(handover->run);
        lock.unlock();
        if (run) run();
    }

    std::shared_ptr<Handover> handover = std::make_shared<Handover>();
    std::thread thread;
};

QmxThreads::QmxThreads() = default;

QmxThreads::~QmxThreads()
{
    for (const std::unique_ptr<Spare> &spare : _spares) {
        spare->give(nullptr);
        spare->thread.join();
    }
}

int QmxThreads::make(std::function<void()> run, std::thread &thread)
{
    try {
        thread = std::thread(std::move(run));
        return 0;
    } catch (const std::system_error &error) {
        return error.code().value() != 0 ? error.code().value() : EAGAIN;
    }
}

QmxError QmxThreads::start(const QString &name, std::function<void()> run, std::thread &thread)
{
    std::function<void()> named = [name, run = std::move(run)] {
        qmxNameThread(name);
        run();
    };
    const std::lock_guard lock(_mutex);
    const int reason = make(named, thread);
    if (reason == 0 || useSpare(named, thread)) return {};
    return {reason,
            QStringLiteral("the system has no thread for %1 (%2); end other programs, or raise the limit of "
                           "threads (TasksMax, ulimit -u)")
                .arg(name, QmxError(reason).toString())};
}

QmxError QmxThreads::startDetached(const QString &name, std::function<void()> run)
{
    std::thread thread;
    QmxError error = start(name, std::move(run), thread);
    if (!error.isError()) thread.detach();
    return error;
}

void QmxThreads::keepSpare(int count)
{
    const std::lock_guard lock(_mutex);
    while (int(_spares.size()) < count) {
        auto spare = std::make_unique<Spare>();
        const auto wait = [handover = spare->handover] {
            qmxNameThread(QStringLiteral("qmx-spare"));
            Spare::wait(handover);
        };
        if (make(wait, spare->thread) != 0) return;
        _spares.push_back(std::move(spare));
    }
}

bool QmxThreads::useSpare(std::function<void()> &run, std::thread &thread)
{
    if (_spares.empty()) return false;
    const std::unique_ptr<Spare> spare = std::move(_spares.front());
    _spares.pop_front();
    thread = std::move(spare->thread);
    spare->give(std::move(run));
    return true;
}
