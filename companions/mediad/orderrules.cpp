// SPDX-License-Identifier: GPL-3.0-or-later
#include "companions/mediad/orderrules.h"

#include "platform/qmx/clip/qmxclippart.h"

#include <algorithm>

namespace {

const Medium *find(const std::vector<Medium> &media, const std::string &path)
{
    const auto found = std::find_if(media.begin(), media.end(),
                                    [&path](const Medium &medium) { return medium.path == path; });
    return found == media.end() ? nullptr : &*found;
}

/// Whoever may give orders must not reach by them what only this program may write: files are made on media
/// and nowhere else.
std::string whyNotTo(const std::string &path, const std::vector<Medium> &media)
{
    const bool leadsAway = (path + "/").find("/../") != std::string::npos;
    const auto medium = std::find_if(media.begin(), media.end(),
                                     [&path](const Medium &one) { return path.starts_with(one.path + "/"); });
    if (leadsAway || medium == media.end())
        return path +
               " is on no medium: exports go to media (`xpctl media` lists them), and can be copied from "
               "there to wherever you may write";
    return medium->writable ? std::string() : medium->path + " cannot be written; remount or replace it";
}

} // namespace

std::string whyInUse(const MediaOrder &order, const MediaParameters &is)
{
    const bool plays = is.daemonRuns && is.status != TransportStatus::Stopped &&
                       is.status != TransportStatus::Recording && is.status != TransportStatus::ShutDown;
    const auto part = QmxClipPart::fromText(QString::fromStdString(is.currentClip));
    const std::string current = part ? part->clip.toStdString() : is.currentClip;
    const bool isPlayed = plays && (order.verb == "delete" || order.verb == "rename") &&
                          is.active == order.from &&
                          (is.playbackSource != PlaybackSource::CurrentClip || current == order.clip);
    return isPlayed ? order.clip + " is in use: the transport plays from it; stop it first" : std::string();
}

std::string whyRefused(const MediaOrder &order, const std::vector<Medium> &media, const MediaParameters &is)
{
    // Its sources say themselves whether they are there.
    if (order.verb == "export") return whyNotTo(order.to, media);
    const Medium *from = find(media, order.from);
    if (!from) return "no medium is mounted at '" + order.from + "'; `xpctl media` lists them";
    if (order.verb == "verify") return {}; // also one that is being recorded
    if (!from->holds(order.clip)) {
        return order.clip +
               (from->beingRecorded || !from->growing.empty()
                    ? " is being recorded, or there is no such clip on "
                    : ": there is no such clip on ") +
               from->path;
    }
    if (order.verb == "copy") {
        const Medium *to = find(media, order.to);
        if (!to) return "no medium is mounted at '" + order.to + "'; `xpctl media` lists them";
        if (!to->writable) return to->path + " cannot be written; remount or replace it";
        return {};
    }
    if (!from->writable) return from->path + " cannot be written; remount or replace it";
    if (order.verb == "rename" && from->holds(order.to))
        return order.to + ": there is a clip of this name already";
    return whyInUse(order, is);
}
