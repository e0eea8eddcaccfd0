// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/core/qmxheartbeat.h"

#include <mutex>
#include <set>

namespace {

struct Registry
{
    std::mutex mutex;
    std::set<QmxHeartbeat *> parts;
};

Registry &registry()
{
    static auto *const made = new Registry; // parts of other threads may go after the statics
    return *made;
}

} // namespace

QmxHeartbeat::QmxHeartbeat(const QString &name) : _name(name)
{
    const std::lock_guard lock(registry().mutex);
    registry().parts.insert(this);
}

QmxHeartbeat::~QmxHeartbeat()
{
    const std::lock_guard lock(registry().mutex);
    registry().parts.erase(this);
}

QString QmxHeartbeat::silent()
{
    const std::lock_guard lock(registry().mutex);
    QString name;
    for (QmxHeartbeat *part : registry().parts) {
        const quint64 beats = part->_beats.load(std::memory_order_relaxed);
        if (beats == part->_heard) name = part->_name;
        part->_heard = beats;
    }
    return name;
}
