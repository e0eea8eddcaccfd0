// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxerror.h"

#include <QString>

#include <functional>
#include <list>
#include <memory>
#include <mutex>
#include <thread>

/// The one maker of threads. A system without room for another one is an error value here and never the end
/// of the program: whoever needs a thread for something new does not begin it, what runs goes on. Any thread.
class QmxThreads
{
public:
    QmxThreads();
    virtual ~QmxThreads();
    QmxThreads(const QmxThreads &) = delete;
    QmxThreads &operator=(const QmxThreads &) = delete;

    /// Runs `run` on a thread of that name (the kernel keeps 15 bytes). On an error nothing runs and `thread`
    /// stays as it was.
    QmxError start(const QString &name, std::function<void()> run, std::thread &thread);
    /// The same with a thread that nobody waits for.
    QmxError startDetached(const QString &name, std::function<void()> run);
    /// Keeps so many idle threads for the time when the system gives no more, as far as it gives them now.
    /// What a take will need to go on to its next clip is there before the take begins.
    void keepSpare(int count);

protected:
    /// The system's answer: 0, or an errno. A test gives its own.
    virtual int make(std::function<void()> run, std::thread &thread);

private:
    struct Spare;
    bool useSpare(std::function<void()> &run, std::thread &thread);

    std::mutex _mutex;
    std::list<std::unique_ptr<Spare>> _spares;
};
