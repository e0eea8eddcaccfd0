// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/store/storereader.h"

#include "platform/qmx/core/qmxloglevel.h"
#include "platform/store/heardchange.h"

#include <QCoreApplication>
#include <QMetaObject>

#include <algorithm>
#include <chrono>

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

namespace {

constexpr const char *module = "storereader";
constexpr int safetyPoll = 250;       // ms; finds what a lost wake-up would have told
constexpr int batch = 256;            // changes read at once, so that a read is short
constexpr int prepareAgainTurns = 20; // after a store could not be prepared
constexpr qint64 microseconds = 1'000'000;
constexpr qint64 nsPerMicrosecond = 1'000;

} // namespace

StoreReader::StoreReader(std::unique_ptr<StoreBackend> backend, const StoreContext &context,
                         std::shared_ptr<StoreMemory> memory, std::shared_ptr<StoreState> state,
                         std::shared_ptr<DeliveryGate> gate, bool awaitEventLoop, bool thorough)
    : StoreThread("store-events", std::move(backend)),
      _context(context),
      _memory(std::move(memory)),
      _state(std::move(state)),
      _gate(std::move(gate)),
      _awaitEventLoop(awaitEventLoop),
      _thorough(thorough),
      _wakeFd(::eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC))
{}

StoreReader::~StoreReader()
{
    if (_wakeFd >= 0) ::close(_wakeFd);
}

bool StoreReader::waitUntilLoaded(std::chrono::milliseconds within)
{
    std::unique_lock lock(_mutex);
    _changed.wait_for(lock, within, [this] { return _firstLoadTried || _ended; });
    return _memory->isLoaded();
}

void StoreReader::addListener(const void *owner, ConfigEventListener *listener)
{
    QCoreApplication *application = _awaitEventLoop ? QCoreApplication::instance() : nullptr;
    const auto ready = std::make_shared<std::atomic<bool>>(application == nullptr);
    {
        const std::lock_guard delivery(_deliveryMutex);
        const std::lock_guard lock(_mutex);
        if (_listeners.empty()) _gate->join(this, _taken);
        _listeners.push_back({owner, listener, _taken, ready, false, _context.environment.clock->busy()});
    }
    if (application)
        QMetaObject::invokeMethod(
            application,
            [weak = weak_from_this(), ready] {
                *ready = true;
                if (const auto self = weak.lock()) static_cast<StoreReader *>(self.get())->wake();
            },
            Qt::QueuedConnection);
    wake();
}

void StoreReader::removeListeners(const void *owner)
{
    const std::lock_guard delivery(_deliveryMutex);
    std::erase_if(_listeners, [owner](const Listener &entry) { return entry.owner == owner; });
    if (_listeners.empty()) _gate->leave(this);
}

void StoreReader::stopDelivering()
{
    const std::lock_guard delivery(_deliveryMutex);
    _delivering = false;
    _gate->leave(this);
}

void StoreReader::wake() const
{
    const quint64 one = 1;
    // A counter that is full wakes the thread as well.
    if (::write(_wakeFd, &one, sizeof one) < 0) return;
}

void StoreReader::run()
{
    _backend->listen();
    while (!isStopping()) {
        if (!_prepared.isDone() && _turnsUntilPrepare-- <= 0) prepare();
        const StoreResult result = _loaded ? follow() : load();
        // Why it could not be made says more than that it is not there.
        _state->report(StoreState::Reading,
                       result.code == StoreResult::Unreachable && !_prepared.isDone() ? _prepared : result);
        // A store that is gone is made anew by whoever knows what was in it, before it is missed.
        const bool hasGone = result.code == StoreResult::Unreachable && _prepared.isDone();
        if (result.code == StoreResult::Damaged || hasGone) {
            _prepared = result;
            _turnsUntilPrepare = 0;
        }
        {
            const std::lock_guard lock(_mutex);
            _firstLoadTried = true;
            _changed.notify_all();
        }
        deliver();
        wait();
    }
}

void StoreReader::prepare()
{
    _prepared = _backend->prepare(_thorough);
    _turnsUntilPrepare = prepareAgainTurns;
}

void StoreReader::taken(quint64 version)
{
    const std::lock_guard lock(_mutex);
    _taken = version;
}

/// Another history: whatever comes from now on is news to every listener, however low its number.
void StoreReader::startedAnewAt(quint64 version)
{
    const std::lock_guard delivery(_deliveryMutex);
    const std::lock_guard lock(_mutex);
    _taken = version;
    for (Listener &listener : _listeners)
        listener.from = std::min(listener.from, version);
    _gate->leave(this);
    if (!_listeners.empty() && _delivering) _gate->join(this, version);
}

/// The commands that others have given since the epoch began: they leave no value in a snapshot.
StoreResult StoreReader::commandsOf(const StoreCursor &epoch, std::vector<StoreChange> &commands) const
{
    StoreCursor cursor{epoch.epoch, epoch.epochBegin()};
    bool reload = false;
    while (cursor.version < epoch.version && !reload) {
        std::vector<StoreChange> changes;
        StoreResult result = _backend->changes(cursor, batch, changes, reload);
        if (!result.isDone()) return result;
        if (changes.empty()) break;
        cursor.version = changes.back().stored.version;
        std::erase_if(changes, [&](const StoreChange &change) {
            const ParamDescriptor *descriptor = GetDescriptor(change.id);
            return !descriptor || descriptor->keep() != ParamDescriptor::Keep::Command ||
                   change.stored.source == _context.source || change.stored.version > epoch.version;
        });
        commands.insert(commands.end(), changes.begin(), changes.end());
    }
    return {};
}

/// Takes the store as it is now: at first, and whenever the way from the cursor to now is not known.
StoreResult StoreReader::load()
{
    StoreImage image;
    StoreCursor cursor;
    StoreResult result = _backend->snapshot(image, cursor);
    if (!result.isDone()) return result;
    const bool isNewEpoch = _loaded && cursor.epoch != _cursor.epoch;
    std::vector<StoreChange> commands;
    if (isNewEpoch) {
        // Another process has made the store anew and did not know what this one knows.
        const std::vector<StoreWrite> missing = _memory->missingIn(image, _context.source);
        std::vector<quint64> versions;
        if (!missing.empty()) result = _backend->write(missing, versions);
        if (!missing.empty() && result.isDone()) result = _backend->snapshot(image, cursor);
        if (result.isDone()) result = commandsOf(cursor, commands);
        if (!result.isDone()) return result;
    } else if (_loaded) {
        qmxLogOutput(QmxLogLevel::Warning, module, __LINE__,
                     "The configuration store has dropped changes before they could be read (%llu were "
                     "missing); its values are read anew, commands among the changes are lost\n",
                     static_cast<unsigned long long>(cursor.version - _cursor.version));
    }
    if (_loaded) _waiting.push_back({eParam_t(0), {}});
    std::vector<StoreChange> news = _memory->reload(image);
    news.insert(news.end(), commands.begin(), commands.end());
    std::stable_sort(news.begin(), news.end(), [](const StoreChange &a, const StoreChange &b) {
        return a.stored.version < b.stored.version;
    });
    // Before the first look nobody can have got a value that would now have to be corrected.
    if (_firstLoadTried)
        for (StoreChange &one : news) {
            // A restored value may be older than the listener; it is news all the same.
            one.stored.version = 0;
            _waiting.push_back(std::move(one));
        }
    _cursor = cursor;
    _loaded = true;
    if (isNewEpoch)
        startedAnewAt(cursor.version);
    else
        taken(cursor.version);
    return {};
}

void StoreReader::take(StoreChange change)
{
    _memory->apply(change);
    _cursor.version = change.stored.version;
    if (change.stored.source != _context.source) _waiting.push_back(std::move(change));
}

/// True when all that has come is known by what its writers have told of it: then nothing is read. The store
/// itself is looked at as often as if nothing had come: its file may have been taken away.
bool StoreReader::takeHeard()
{
    const HeardChanges heard = _backend->takeHeard();
    const auto lookedBefore = std::chrono::steady_clock::now() - _lookedAt;
    if (!heard.isAll || _moreToRead || _followFailed || lookedBefore > std::chrono::milliseconds(safetyPoll))
        return false;
    const quint64 before = _cursor.version;
    bool isKnown = true;
    for (const HeardChange &one : heard.changes) {
        const quint64 version = one.change.stored.version;
        isKnown = one.epoch == _cursor.epoch && version <= _cursor.version + 1;
        if (!isKnown) break;
        if (version > _cursor.version) take(one.change);
    }
    if (_cursor.version != before) taken(_cursor.version);
    return isKnown;
}

StoreResult StoreReader::follow()
{
    if (_waiting.size() >= bound || takeHeard()) return {};
    _moreToRead = false; // also when this fails: the next look is not sooner for it
    _lookedAt = std::chrono::steady_clock::now();
    std::vector<StoreChange> changes;
    bool reload = false;
    StoreResult result = _backend->changes(_cursor, batch, changes, reload);
    if (!result.isDone()) {
        // A clock that stands still for a store that does not answer would stand still for ever.
        if (!_followFailed) _gate->leave(this);
        _followFailed = true;
        return result;
    }
    if (_followFailed) {
        _followFailed = false;
        const std::lock_guard delivery(_deliveryMutex);
        if (!_listeners.empty() && _delivering) _gate->join(this, _cursor.version);
    }
    if (reload) return load();
    for (StoreChange &change : changes)
        take(std::move(change));
    if (!changes.empty()) taken(_cursor.version);
    _moreToRead = changes.size() == batch;
    return {};
}

void StoreReader::deliver()
{
    while (deliverOne()) {}
    if (_waiting.empty() && _loaded) _gate->passed(this, _cursor.version);
}

/// False when nothing is left that could be delivered now.
bool StoreReader::deliverOne()
{
    const std::lock_guard delivery(_deliveryMutex);
    if (!_delivering || _listeners.empty()) {
        for (Listener &listener : _listeners)
            listener.token.reset();
        _waiting.clear();
        return false;
    }
    bool everybodyIsReady = true;
    // By index: a listener may add another one.
    for (std::size_t i = 0; i < _listeners.size(); ++i) {
        everybodyIsReady = everybodyIsReady && *_listeners[i].ready;
        if (!*_listeners[i].ready || _listeners[i].told) continue;
        _listeners[i].told = true;
        tellOnce(_listeners[i]);
        _listeners[i].token.reset();
    }
    if (!everybodyIsReady || _waiting.empty()) return false;
    const StoreChange change = std::move(_waiting.front());
    _waiting.pop_front();
    for (std::size_t i = 0; i < _listeners.size(); ++i)
        if (change.stored.version == 0 || change.stored.version > _listeners[i].from)
            call(_listeners[i].listener, change);
    return true;
}

void StoreReader::deliverLocally(eParam_t id, const StoreValue &value)
{
    const StoreChange change{id, {value, 0, {}, _context.environment.clock->wallTime() / nsPerMicrosecond}};
    const std::lock_guard delivery(_deliveryMutex);
    for (std::size_t i = 0; _delivering && i < _listeners.size(); ++i)
        if (*_listeners[i].ready) call(_listeners[i].listener, change);
}

void StoreReader::tellOnce(const Listener &listener) const
{
    ConfigEventListener *const target = listener.listener; // the list may grow in the call
    for (const ParamDescriptor *descriptor : AllDescriptors())
        if (descriptor->isToldToNewListeners())
            call(target, {descriptor->id(),
                          {_memory->value(*descriptor),
                           0,
                           {},
                           _context.environment.clock->wallTime() / nsPerMicrosecond}});
}

void StoreReader::call(ConfigEventListener *listener, const StoreChange &change) const
{
    const StoredValue &stored = change.stored;
    if (change.id == eParam_t(0)) {
        listener->ParamChanged(ConfigEvent{{}, ConfigEvent::Reload, 0, {}, {}, 0, {}});
        return;
    }
    const timeval time{static_cast<time_t>(stored.time / microseconds),
                       static_cast<suseconds_t>(stored.time % microseconds)};
    switch (stored.value.kind) {
    case StoreValue::Kind::Unsigned:
        listener->ParamChanged(change.id, stored.value.number, time);
        return;
    case StoreValue::Kind::String:
        listener->ParamChanged(change.id, stored.value.text, time);
        return;
    case StoreValue::Kind::Data:
        break;
    }
    std::string bytes = stored.value.text;
    if (listener->DataChanged(change.id, bytes, time)) return;
    const ParamDescriptor *descriptor = GetDescriptor(change.id);
    listener->ParamChanged(ConfigEvent{change.id,
                                       descriptor ? descriptor->type() : int(ParamDescriptor::Data), 0,
                                       stored.value.text, time, stored.version, stored.source});
}

void StoreReader::wait()
{
    pollfd descriptors[] = {{_wakeFd, POLLIN, 0}, {_backend->listen(), POLLIN, 0}};
    // With no room for more there is nothing to do before somebody has been told.
    const int timeout = _moreToRead && _waiting.size() < bound ? 0 : safetyPoll;
    // Other processes write when it suits them: this waits for the machine, not for this process's clock.
    ::poll(descriptors, 2, timeout);
    quint64 count = 0;
    if ((descriptors[0].revents & POLLIN) != 0 && ::read(_wakeFd, &count, sizeof count) < 0) count = 0;
    _backend->drain();
    // Before what waits: it is urgent. Version 0: for every listener.
    for (StoreWrite &command : _backend->takeUrgent())
        _waiting.push_front(
            {command.id,
             {std::move(command.value), 0, {}, _context.environment.clock->wallTime() / nsPerMicrosecond}});
}
