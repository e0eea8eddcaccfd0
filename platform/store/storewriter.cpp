// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/store/storewriter.h"

#include "platform/qmx/core/qmxloglevel.h"

#include <chrono>

namespace {

constexpr const char *module = "storewriter";
constexpr std::size_t batch = 64; // writes committed, and made durable, together
// How long to leave a store alone that has just refused. Other processes hold it up, so it is their time
// that counts, not this process's clock.
constexpr std::chrono::milliseconds retryPause{100};

} // namespace

StoreWriter::StoreWriter(std::unique_ptr<StoreBackend> backend, const StoreContext &context,
                         std::shared_ptr<StoreMemory> memory, std::shared_ptr<StoreState> state,
                         std::shared_ptr<DeliveryGate> gate)
    : StoreThread("store-write", std::move(backend)),
      _context(context),
      _memory(std::move(memory)),
      _state(std::move(state)),
      _gate(std::move(gate))
{}

bool StoreWriter::queue(const StoreWrite &write)
{
    const std::lock_guard lock(_mutex);
    if (_queue.size() >= bound || _stopping) return false;
    _queue.push_back({write, _context.environment.clock->busy()});
    _memory->queued(write.id, write.value);
    _changed.notify_all();
    return true;
}

int StoreWriter::pending() const
{
    const std::lock_guard lock(_mutex);
    return static_cast<int>(_queue.size());
}

bool StoreWriter::waitUntilEmpty(StoreDeadline until)
{
    std::unique_lock lock(_mutex);
    return _changed.wait_until(lock, until, [this] { return _queue.empty() || _ended; }) && _queue.empty();
}

void StoreWriter::giveUp()
{
    const std::lock_guard lock(_mutex);
    if (_queue.empty()) return;
    qmxLogOutput(
        QmxLogLevel::Error, module, __LINE__,
        "%zu changes of settings or status are lost, the configuration store did not take them. %s\n",
        _queue.size(), _state->text().c_str());
    for (const Item &item : _queue)
        _memory->unqueued(item.write.id, item.write.value, 0, _context.source, 0);
    _queue.clear();
    ++_givenUp;
    _changed.notify_all();
}

void StoreWriter::stop(StoreDeadline until)
{
    {
        std::unique_lock lock(_mutex);
        _stopping = true;
        // Nothing to save: what the thread still waits for is not waited for.
        if (_queue.empty()) *_context.interrupted = true;
        _changed.notify_all();
        if (_changed.wait_until(lock, until, [this] { return _ended; })) return;
    }
    *_context.interrupted = true;
    giveUp();
}

void StoreWriter::run()
{
    std::unique_lock lock(_mutex);
    for (;;) {
        _changed.wait(lock, [this] { return !_queue.empty() || _stopping; });
        if (_queue.empty()) break;
        commit(lock);
    }
}

void StoreWriter::commit(std::unique_lock<std::mutex> &lock)
{
    std::vector<StoreWrite> writes;
    for (const Item &item : _queue) {
        if (writes.size() == batch) break;
        writes.push_back(item.write);
    }
    const int givenUp = _givenUp;
    lock.unlock();
    std::vector<quint64> versions;
    constexpr qint64 nsPerMicrosecond = 1000;
    const qint64 time = _context.environment.clock->wallTime() / nsPerMicrosecond;
    const StoreResult result = _backend->write(writes, versions);
    _state->report(StoreState::Writing, result);
    lock.lock();
    if (_givenUp != givenUp) return;
    if (!result.isDone()) {
        // A clock that stands still for a store that does not answer would stand still for ever.
        for (Item &item : _queue)
            item.token.reset();
        _changed.wait_for(lock, retryPause, [this] { return _context.interrupted->load(); });
        return;
    }
    for (std::size_t i = 0; i < writes.size(); ++i) {
        _memory->unqueued(writes[i].id, writes[i].value, versions[i], _context.source, time);
        _gate->hold(std::move(_queue.front().token), versions[i]);
        _queue.pop_front();
    }
    _changed.notify_all();
}
