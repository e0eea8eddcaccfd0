// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "companions/mediad/mediamachine.h"
#include "platform/product/mediaorder.h"
#include "platform/qmx/core/qmxenvironment.h"

#include <QObject>

#include <atomic>
#include <functional>
#include <list>
#include <memory>
#include <mutex>
#include <set>

class QmxTaskThread;

/// Carries out orders. What reads or writes all of a clip is done one after the other on the thread
/// "media-jobs" and gives way to a running take: it pauses whenever frames wait in the recorder's queue, and
/// is slow in between. What takes a moment (to delete, protect, rename) need not wait for that: it is done on
/// "media-orders", unless the same clip is being copied or exported, or waits to be. At most `bound` wait for
/// each thread; more are refused.
///
/// Threads: all members on the event loop, where `told` is called too.
class MediaJobs : public QObject
{
    Q_OBJECT

public:
    static constexpr int bound = 16;

    MediaJobs(const QmxEnvironment &environment,
              std::function<void(const MediaOrder &, const MediaOrderState &)> told,
              QObject *parent = nullptr);
    ~MediaJobs() override;

    void start(const MediaOrder &order);
    /// Ends the order with the id that stands in `order.clip`, or the one that is carried out now; what it
    /// has made so far goes. Copies, checks and exports can be ended; the sentence says whether there was
    /// one.
    MediaOrderState cancel(const MediaOrder &order);
    /// What the transport does now: whether it uses the media, and which clips.
    void follow(const MediaParameters &transport);

private:
    struct Shared
    {
        std::atomic<bool> busy = false;
        std::atomic<bool> ended = false;
        std::mutex mutex;
        MediaParameters transport;            ///< guarded by the mutex
        std::string running;                  ///< id of the order; empty: none. Guarded by the mutex
        std::set<std::string> waiting;        ///< ids. Guarded by the mutex
        std::set<std::string> canceled;       ///< of those. Guarded by the mutex
        std::atomic<bool> isCanceled = false; ///< the one that is carried out
    };
    class Pace;

    using Told = std::function<void(const MediaOrderState &)>;
    static void run(const MediaOrder &order, const QmxEnvironment &environment, Shared &shared,
                    const Told &told);
    static QmxError runShort(const MediaOrder &order, const QmxEnvironment &environment, Shared &shared,
                             std::string &text);
    static QmxError runLong(const MediaOrder &order, const QmxEnvironment &environment, Shared &shared,
                            const Told &told, std::string &text, std::string &report);

    const QmxEnvironment _environment;
    const std::function<void(const MediaOrder &, const MediaOrderState &)> _told;
    const std::shared_ptr<Shared> _shared = std::make_shared<Shared>();
    /// Orders one after the other.
    struct Lane
    {
        std::unique_ptr<QmxTaskThread> thread;
        int unfinished = 0;
    };
    bool isHeldUp(const MediaOrder &order) const;

    std::list<MediaOrder> _longOrders; ///< unfinished
    Lane _long;
    Lane _short;
};
