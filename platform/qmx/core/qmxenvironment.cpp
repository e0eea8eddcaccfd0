// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/core/qmxenvironment.h"

#include "platform/qmx/core/qmxdeck.h"
#include "platform/qmx/core/qmxplaces.h"

#include <mutex>

namespace {

struct Holder
{
    std::mutex mutex;
    QmxEnvironment environment{std::make_shared<QmxRealClock>(), std::make_shared<QmxFiles>(),
                               std::make_shared<QmxThreads>()};
};

Holder &holder()
{
    // Never destroyed: threads may ask until the very end of the process.
    static Holder *const instance = new Holder;
    return *instance;
}

} // namespace

QmxEnvironment QmxEnvironment::current()
{
    Holder &h = holder();
    std::lock_guard lock(h.mutex);
    return h.environment;
}

void QmxEnvironment::setCurrent(const QmxEnvironment &environment)
{
    Holder &h = holder();
    std::lock_guard lock(h.mutex);
    h.environment = environment;
}

std::shared_ptr<QmxDeck> QmxEnvironment::newDeck()
{
    return std::make_shared<QmxDeck>();
}

std::shared_ptr<const QmxPlaces> QmxEnvironment::standardPlaces()
{
    return std::make_shared<const QmxPlaces>();
}
