// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/store/storethread.h"

#include "platform/qmx/core/qmxloglevel.h"

StoreThread::StoreThread(const char *name, std::unique_ptr<StoreBackend> backend)
    : _backend(std::move(backend)), _name(name)
{}

StoreThread::~StoreThread() = default;

void StoreThread::start()
{
    _ended = false;
    // stop() waits for its end, with a limit.
    const QmxError error =
        QmxEnvironment::current().threads->startDetached(QLatin1String(_name), [self = shared_from_this()] {
            self->run();
            self->_backend.reset();
            const std::lock_guard lock(self->_mutex);
            self->_ended = true;
            self->_changed.notify_all();
        });
    if (!error.isError()) return;
    const std::lock_guard lock(_mutex);
    _ended = true;
    qmxLogText(QmxLogLevel::Error, _name, __LINE__, error.toString());
}

void StoreThread::askToStop()
{
    const std::lock_guard lock(_mutex);
    _stopping = true;
    wake();
    _changed.notify_all();
}

void StoreThread::stop(StoreDeadline until)
{
    askToStop();
    std::unique_lock lock(_mutex);
    _changed.wait_until(lock, until, [this] { return _ended; });
}

bool StoreThread::isStopping() const
{
    const std::lock_guard lock(_mutex);
    return _stopping;
}
