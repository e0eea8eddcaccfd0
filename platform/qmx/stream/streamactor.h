// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxenvironment.h"
#include "platform/qmx/core/qmxtaskthread.h"

#include <QObject>

#include <functional>
#include <memory>
#include <mutex>
#include <utility>

/// What does one thing after the other on a thread of its own, for an owner on the event loop who asks, never
/// waits and hears the answers as posted events: the base of a stream's reader and writers.
///
/// Both sides share one lock, never held during a call on a file. The thread holds the actor while it works,
/// so that one that hangs in the kernel can be left behind: it ends by itself when the kernel returns, and
/// talks as late as it likes to nobody.
class StreamActor : public std::enable_shared_from_this<StreamActor>
{
public:
    virtual ~StreamActor() = default;
    StreamActor(const StreamActor &) = delete;
    StreamActor &operator=(const StreamActor &) = delete;

    /// How the owner holds it. Letting go ends it as end() of its class has it, and nothing is told any more.
    struct Release
    {
        std::shared_ptr<StreamActor> actor;
        void operator()(StreamActor *);
    };
    template <typename Actor>
    using Owned = std::unique_ptr<Actor, Release>;
    template <typename Actor, typename... Arguments>
    static Owned<Actor> make(Arguments &&...arguments)
    {
        auto actor = std::make_shared<Actor>(std::forward<Arguments>(arguments)...);
        Actor *const raw = actor.get();
        return Owned<Actor>(raw, Release{std::move(actor)});
    }

    /// Does what has been asked before, then closes what is open.
    void close();
    /// From here on nothing is told, not even what waits in the event loop.
    void deafen();

protected:
    /// What is told comes as posted events of `listener`, in order.
    StreamActor(const QString &thread, QObject *listener, const QmxEnvironment &environment);

    /// Does the next thing; false: there is none, or it was the last one. On the actor's thread.
    virtual bool step() = 0;
    /// The owner lets go: ends the thread or leaves it behind.
    virtual void end() = 0;

    /// Something is to be done; with the lock held, owner only.
    void schedule();
    /// False: the system has no thread for it, and it is done for.
    bool askToOpen();
    /// Ends the thread, which must have nothing left to do, or leaves it behind. Owner only.
    void leaveThread(bool hangs);
    bool hasThread() const { return bool(_thread); }
    /// Any thread, without the lock.
    void tell(std::function<void()> what);

    const QmxEnvironment _environment;
    mutable std::mutex _mutex; ///< guards what follows
    bool _openAsked = false;
    bool _closeAsked = false;
    bool _scheduled = false; ///< the thread runs, or will
    bool _done = false;      ///< closed, or never opened

private:
    QObject *_listener;                     ///< written on the event loop, with the lock
    std::unique_ptr<QmxTaskThread> _thread; ///< the owner's
};
