// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/product/sharedmutex.h"

#include "platform/product/processmark.h"
#include "platform/qmx/core/qmxsafefile.h"
#include "platform/store/storefiles.h"

#include <thread>

#include <boost/interprocess/sync/named_mutex.hpp>

namespace bip = boost::interprocess;

namespace {
/// Where the C library keeps named semaphores (sem_overview(7)).
std::string fileOf(const std::string &name)
{
    return "/dev/shm/sem." + name;
}

/// Between two looks. The library's own wait ends by the time of day, which may be set back meanwhile.
constexpr std::chrono::microseconds lookInterval{200};
} // namespace

class SharedMutex::Handle
{
public:
    explicit Handle(const std::string &name)
        : mutex(bip::open_or_create, name.c_str(), bip::permissions(StoreFiles::fileMode))
    {
        StoreFiles::shareWithGroup(fileOf(name));
    }
    bip::named_mutex mutex;
};

SharedMutex::SharedMutex(const std::string &name) : _self(ProcessMark::self())
{
    // The semaphore of another channel has no name here.
    if (name.find('/') != std::string::npos) return;
    // Nor is one had that another account made, which could cut it short under us.
    if (const auto owner = QmxSafeFile::owner(fileOf(name).c_str());
        owner && !QmxSafeFile::isTrustedOwner(*owner))
        return;
    try {
        _handle = std::make_unique<Handle>(name);
        // (Somebody may just have been faster. A file of our own stays: the folder is sticky.)
        const auto owner = QmxSafeFile::owner(fileOf(name).c_str());
        if (!owner || !QmxSafeFile::isTrustedOwner(*owner)) _handle.reset();
    } catch (const bip::interprocess_exception &) {
        _handle.reset(); // no right to it: the owner alone decides
    }
}

SharedMutex::~SharedMutex() = default;

bool SharedMutex::lock(std::atomic_ref<quint64> owner, std::chrono::milliseconds wait)
{
    const auto end = std::chrono::steady_clock::now() + wait;
    for (;;) {
        // With it, somebody may still have been faster; without it, its holder may have died.
        if (_handle) _handle->mutex.try_lock();
        quint64 holder = owner.load();
        const bool isFree = holder == 0 || !ProcessMark::isAlive(holder);
        if (isFree && owner.compare_exchange_strong(holder, _self)) return true;
        if (std::chrono::steady_clock::now() >= end) return false;
        std::this_thread::sleep_for(lookInterval);
    }
}

void SharedMutex::unlock(std::atomic_ref<quint64> owner)
{
    quint64 mine = _self;
    if (!owner.compare_exchange_strong(mine, 0) || !_handle) return;
    try {
        _handle->mutex.unlock();
    } catch (const bip::interprocess_exception &) {
        return; // more of it is out than may be: nobody waits in vain
    }
}
