// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "companions/remote/remoteconfig.h"
#include "companions/remote/remoteport.h"
#include "companions/remote/sockets.h"
#include "platform/control/controlworkers.h"
#include "platform/control/deckwatch.h"
#include "platform/product/shmstring.h"
#include "platform/qmx/core/qmxclock.h"
#include "platform/qmx/core/qmxenvironment.h"
#include "platform/qmx/core/qmxplaces.h"
#include "platform/qmx/core/qmxtakewindow.h"

#include <atomic>
#include <chrono>
#include <deque>
#include <mutex>
#include <thread>

/// All ports on one thread ("remote-io"), which waits for nothing but them: it answers from the state that
/// the deck's watch has published, and hands orders to workers.
///
/// The constructor opens the ports and starts; the destructor ends and joins.
class RemoteLoop : private RemoteContext
{
public:
    explicit RemoteLoop(const RemoteConfig &config);
    ~RemoteLoop() override;
    /// False: there is no room for a thread, and the log says so.
    bool isRunning() const { return _thread.joinable(); }

private:
    // RemoteContext, on "remote-io"
    DeckView view() override;
    std::shared_ptr<const DeckState> state() override { return _watch.state(); }
    qint64 now() const override { return _environment.clock->now(); }
    void perform(const DeckOrder &order, const Who &who, Answered answered, Given given) override;
    void listClips(Clips listed) override;
    RemoteStatistics &statistics() override { return _statistics; }

    void run();
    void turn();
    std::chrono::milliseconds waitTime() const;
    void publish();
    void post(std::function<void()> work);
    void wake() const;
    void setWindow(const DeckOrder &order, const Answered &answered);
    void set(const DeckOrder &order, const Who &who, const Answered &answered);

    const QmxEnvironment _environment;
    const QStringList _problems; ///< of the configuration
    RemoteStatistics _statistics;
    ShmString _published{QmxEnvironment::current().places->remoteFigures.toStdString()};
    qint64 _publishAt = 0;
    RemoteFd _wake;
    std::mutex _mutex;
    std::deque<std::function<void()>> _posted; ///< bound: one for each order that is on its way
    std::shared_ptr<const DeckState> _viewed;  ///< what _view was made of
    DeckView _view;
    QmxTakeWindow::Client _window;
    std::vector<std::unique_ptr<RemotePort>> _ports;
    std::atomic<bool> _ends = false;
    DeckWatch _watch;
    std::shared_ptr<void> _follow;
    int _listener = 0;
    std::thread _thread;
    ControlWorkers _workers; ///< last: it goes first, and with it the answers
};
