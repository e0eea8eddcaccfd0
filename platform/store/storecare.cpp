// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/store/storecare.h"

#include "platform/qmx/core/qmxlog.h"

#include <chrono>

namespace {
constexpr std::chrono::milliseconds interval{1000};
}

StoreCare::StoreCare(std::unique_ptr<StoreBackend> backend) : _backend(std::move(backend)) {}

void StoreCare::start()
{
    _ended = false;
    // stop() waits for its end, with a limit.
    const QmxError error = QmxEnvironment::current().threads->startDetached(
        QStringLiteral("store-care"), [self = shared_from_this()] { self->run(); });
    if (!error.isError()) return;
    const std::lock_guard lock(_mutex);
    _ended = true;
    qmxLogOutput(1, "storecare", __LINE__, "%s\n", qPrintable(error.toString()));
}

void StoreCare::askToStop()
{
    const std::lock_guard lock(_mutex);
    _stopping = true;
    _changed.notify_all();
}

void StoreCare::stop(StoreDeadline until)
{
    askToStop();
    std::unique_lock lock(_mutex);
    _changed.wait_until(lock, until, [this] { return _ended; });
}

void StoreCare::run()
{
    std::unique_lock lock(_mutex);
    while (!_changed.wait_for(lock, interval, [this] { return _stopping; })) {
        lock.unlock();
        _backend->care();
        lock.lock();
    }
    lock.unlock();
    _backend.reset();
    lock.lock();
    _ended = true;
    _changed.notify_all();
}
