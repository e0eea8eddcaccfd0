// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/store/storecare.h"

#include <chrono>

void StoreCare::run()
{
    constexpr std::chrono::milliseconds interval{1000};
    std::unique_lock lock(_mutex);
    while (!_changed.wait_for(lock, interval, [this] { return _stopping; })) {
        lock.unlock();
        _backend->care();
        lock.lock();
    }
}
