// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "companions/mediad/mediamachine.h"

/// One call's view of the world: a write shows in it at once.
struct MediaMachine::Step
{
    std::int64_t now;
    const std::vector<Medium> &media;
    MediaParameters is;
    const MediaEvents &events;
    MediaOrders orders;

    bool recording() const { return is.daemonRuns && is.status == TransportStatus::Recording; }

    void write(eParam_t id, unsigned number)
    {
        orders.writes.push_back({id, MediaWrite::Number, number, {}});
    }
    template <typename Value>
    requires std::is_enum_v<Value>
    void write(eParam_t id, Value value) { write(id, storeNumber(value)); }
    void write(eParam_t id, const std::string &text)
    {
        orders.writes.push_back({id, MediaWrite::Text, 0, text});
    }
    void setActive(const std::string &path)
    {
        is.active = path;
        write(eParam_ActiveMediaPath, path);
    }
    void setRollover(const std::string &path)
    {
        is.rollover = path;
        write(eParam_RolloverMediaPath, path);
    }

    void setMirror(const std::string &path)
    {
        is.mirror = path;
        write(eParam_MirrorMediaPath, path);
    }

    /// Where the second copy of takes goes; null: there is none, or its medium is not there.
    const Medium *mirror() const { return is.mirror.empty() ? nullptr : mediumOf(is.mirror); }
    /// The medium that a path lies on; null: none that is mounted.
    const Medium *mediumOf(const std::string &path) const
    {
        const Medium *best = nullptr;
        for (const Medium &medium : media) {
            const bool inside = path == medium.path || path.starts_with(medium.path + "/");
            if (inside && (!best || best->path.size() < medium.path.size())) {
                best = &medium;
            }
        }
        return best;
    }
};
