// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/store/configeventlistener.h"
#include "platform/store/deliverygate.h"
#include "platform/store/storememory.h"
#include "platform/store/storestate.h"
#include "platform/store/storethread.h"

#include <atomic>
#include <chrono>
#include <deque>

/// Follows the changes of a store on the thread "store-events": keeps the client's memory current and calls
/// the listeners, one call at a time, in order. Changes made by the client itself are not told.
///
/// With `awaitEventLoop`, and an application object, a listener is not called before the event loop has
/// turned once after its registration: until then its owner is still connecting. What comes meanwhile is
/// kept, at most `bound` changes; then the store is read no further until they have been told.
class StoreReader : public StoreThread
{
public:
    static constexpr std::size_t bound = 4096;

    StoreReader(std::unique_ptr<StoreBackend> backend, const StoreContext &context,
                std::shared_ptr<StoreMemory> memory, std::shared_ptr<StoreState> state,
                std::shared_ptr<DeliveryGate> gate, bool awaitEventLoop, bool thorough);
    ~StoreReader() override;

    /// True when the store has been read once; waits for that at most `milliseconds`.
    bool waitUntilLoaded(std::chrono::milliseconds within);
    void addListener(const void *owner, ConfigEventListener *listener);
    /// Returns when no listener of this owner is being called nor ever will be.
    void removeListeners(const void *owner);
    /// No listener is called any more; returns when no call is in progress.
    void stopDelivering();
    /// Calls the listeners that are ready with a change that no store has told. On the caller's thread.
    void deliverLocally(eParam_t id, const StoreValue &value);

private:
    struct Listener
    {
        const void *owner = nullptr;
        ConfigEventListener *listener = nullptr;
        quint64 from = 0;                         ///< changes up to this version came before it
        std::shared_ptr<std::atomic<bool>> ready; ///< the event loop has turned
        bool told = false;                        ///< has been told what new listeners are told
        std::shared_ptr<void> token;              ///< keeps a stepped clock still until then
    };

    void run() override;
    void prepare();
    StoreResult load();
    StoreResult follow();
    bool takeHeard();
    void take(StoreChange change);
    StoreResult commandsOf(const StoreCursor &epoch, std::vector<StoreChange> &commands) const;
    void taken(quint64 version);
    void startedAnewAt(quint64 version);
    void deliver();
    bool deliverOne();
    void tellOnce(const Listener &listener) const;
    void call(ConfigEventListener *listener, const StoreChange &change) const;
    void wait();
    void wake() const override;

    const StoreContext _context;
    const std::shared_ptr<StoreMemory> _memory;
    const std::shared_ptr<StoreState> _state;
    const std::shared_ptr<DeliveryGate> _gate;
    const bool _awaitEventLoop;
    const bool _thorough; ///< check every page at the beginning
    const int _wakeFd;

    // The thread's own.
    StoreCursor _cursor;
    StoreResult _prepared{StoreResult::Unreachable, {}}; ///< not Done: to be tried again
    int _turnsUntilPrepare = 0;
    bool _loaded = false;
    bool _moreToRead = false;
    bool _followFailed = false;
    std::deque<StoreChange> _waiting;
    std::chrono::steady_clock::time_point _lookedAt; ///< when the store itself was asked last

    // Under the thread's mutex.
    bool _firstLoadTried = false;
    quint64 _taken = 0; ///< version up to which changes have been taken from the store

    std::recursive_mutex _deliveryMutex; ///< held during every call; of the fields below
    std::vector<Listener> _listeners;
    bool _delivering = true;
};
