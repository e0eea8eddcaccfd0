// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/core/qmxoperations.h"

#include "platform/qmx/core/qmxenvironment.h"

#include <list>
#include <mutex>

struct QmxOperations::Private
{
    struct Operation
    {
        QString what;
        qint64 since = 0;
    };
    using Flush = std::function<void()>;

    mutable std::mutex mutex;
    std::list<Operation> operations; // oldest first
    std::list<std::shared_ptr<Flush>> flushes;
    qint64 lastCompletion = 0;
};

namespace {

qint64 now()
{
    return QmxEnvironment::current().clock->now();
}

} // namespace

QmxOperations::QmxOperations() : d(std::make_shared<Private>()) {}
QmxOperations::~QmxOperations() = default;

QmxOperations::Token QmxOperations::begin(const QString &what)
{
    const qint64 start = now();
    std::lock_guard lock(d->mutex);
    const auto operation = d->operations.insert(d->operations.end(), {what, start});
    return Token(nullptr, [shared = d, operation](void *) {
        const qint64 end = now();
        std::lock_guard guard(shared->mutex);
        shared->operations.erase(operation);
        shared->lastCompletion = end;
    });
}

int QmxOperations::inProgress() const
{
    std::lock_guard lock(d->mutex);
    return int(d->operations.size());
}

QString QmxOperations::oldest(std::chrono::nanoseconds *age) const
{
    const qint64 present = now();
    std::lock_guard lock(d->mutex);
    if (age)
        *age = std::chrono::nanoseconds(d->operations.empty() ? 0 : present - d->operations.front().since);
    return d->operations.empty() ? QString() : d->operations.front().what;
}

qint64 QmxOperations::lastCompletion() const
{
    std::lock_guard lock(d->mutex);
    return d->lastCompletion;
}

QmxOperations::Token QmxOperations::addEmergencyFlush(std::function<void()> flush)
{
    const auto shared = std::make_shared<Private::Flush>(std::move(flush));
    std::lock_guard lock(d->mutex);
    const auto place = d->flushes.insert(d->flushes.end(), shared);
    return Token(nullptr, [state = d, place](void *) {
        std::lock_guard guard(state->mutex);
        state->flushes.erase(place);
    });
}

void QmxOperations::runEmergencyFlushes()
{
    std::list<std::shared_ptr<Private::Flush>> flushes;
    {
        std::lock_guard lock(d->mutex);
        flushes = d->flushes;
    }
    for (const std::shared_ptr<Private::Flush> &flush : flushes)
        (*flush)();
}
