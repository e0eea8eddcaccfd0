// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/store/storememory.h"

#include "platform/store/storesource.h"

#include <algorithm>

namespace {

bool isCommand(std::uint32_t id)
{
    const ParamDescriptor *descriptor = GetDescriptor(eParam_t(id));
    return descriptor && descriptor->keep() == ParamDescriptor::Keep::Command;
}

bool everyWriteIsEvent(std::uint32_t id)
{
    const ParamDescriptor *descriptor = GetDescriptor(eParam_t(id));
    return descriptor && descriptor->everyWriteIsEvent();
}

StoreValue defaultOf(std::uint32_t id)
{
    const ParamDescriptor *descriptor = GetDescriptor(eParam_t(id));
    return descriptor ? descriptor->defaultValue() : StoreValue();
}

} // namespace

StoreValue StoreMemory::value(const ParamDescriptor &descriptor) const
{
    const std::lock_guard lock(_mutex);
    if (const auto found = _queued.find(descriptor.id()); found != _queued.end()) return found->second.value;
    const auto found = _committed.find(descriptor.id());
    // A row of another kind was written by another version of the program: as good as none.
    if (found == _committed.end() || found->second.value.kind != descriptor.valueKind())
        return descriptor.defaultValue();
    return found->second.value;
}

bool StoreMemory::isLoaded() const
{
    const std::lock_guard lock(_mutex);
    return _loaded;
}

StoreImage StoreMemory::committed() const
{
    const std::lock_guard lock(_mutex);
    return _committed;
}

void StoreMemory::queued(eParam_t id, const StoreValue &value)
{
    if (isCommand(id)) return;
    const std::lock_guard lock(_mutex);
    Queued &entry = _queued[id];
    entry.value = value;
    ++entry.count;
}

void StoreMemory::unqueued(eParam_t id, const StoreValue &value, quint64 version, const std::string &source,
                           qint64 time)
{
    if (isCommand(id)) return;
    const std::lock_guard lock(_mutex);
    const auto found = _queued.find(id);
    if (found != _queued.end() && --found->second.count == 0) _queued.erase(found);
    if (version == 0) return;
    StoredValue &known = _committed[id];
    // (With its time: a store that is lost before this is read back is told apart from older values by it.)
    if (version > known.version) known = {value, version, source, time};
}

void StoreMemory::apply(const StoreChange &change)
{
    if (isCommand(change.id)) return;
    const std::lock_guard lock(_mutex);
    StoredValue &known = _committed[change.id];
    // Also the same version: of an own write the time was not known yet.
    if (change.stored.version >= known.version) known = change.stored;
}

std::vector<StoreWrite> StoreMemory::missingIn(const StoreImage &image, const std::string &self) const
{
    const std::lock_guard lock(_mutex);
    std::vector<StoreWrite> missing;
    for (const auto &[id, known] : _committed) {
        const ParamDescriptor *descriptor = GetDescriptor(eParam_t(id));
        if (descriptor && descriptor->isAlarm() && known.source != self) continue; // its owner knows best
        const auto there = image.find(id);
        const bool isDecided =
            there != image.end() && there->second.time >= known.time && !isStoreUpkeep(there->second.source);
        const StoreValue now = there == image.end() ? defaultOf(id) : there->second.value;
        if (!isDecided && now != known.value) missing.push_back({eParam_t(id), known.value});
    }
    return missing;
}

std::vector<StoreChange> StoreMemory::reload(const StoreImage &image)
{
    const std::lock_guard lock(_mutex);
    std::vector<StoreChange> differences;
    for (const auto &[id, stored] : image) {
        const auto known = _committed.find(id);
        const bool isEqual =
            (known == _committed.end() ? defaultOf(id) : known->second.value) == stored.value;
        const bool isNewer = known == _committed.end() || known->second.version < stored.version;
        if (!isEqual || (isNewer && everyWriteIsEvent(id))) differences.push_back({eParam_t(id), stored});
    }
    for (const auto &[id, known] : _committed)
        if (!image.contains(id) && known.value != defaultOf(id))
            differences.push_back({eParam_t(id), {defaultOf(id), 0, {}, 0}});
    std::sort(differences.begin(), differences.end(),
              [](const StoreChange &a, const StoreChange &b) { return a.stored.version < b.stored.version; });
    _committed = image;
    _loaded = true;
    return differences;
}
