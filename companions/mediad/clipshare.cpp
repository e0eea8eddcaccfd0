// SPDX-License-Identifier: GPL-3.0-or-later
#include "companions/mediad/clipshare.h"

#include "platform/product/clipscan.h"
#include "platform/qmx/core/qmxloglevel.h"

#include <QCoreApplication>
#include <QPointer>

namespace {

constexpr const char *module = "clipshare";
/// A folder that has just changed may change once more within the same tick of its clock.
constexpr std::chrono::seconds settleTime(2);

} // namespace

ClipShare::ClipShare(const QmxEnvironment &environment, Run run, QObject *parent)
    : QObject(parent), _environment(environment), _run(std::move(run))
{}

ClipShare::~ClipShare() = default;

void ClipShare::follow(const std::vector<Medium> &media, const std::string &active,
                       const std::string &playList)
{
    std::map<std::string, Shared> present;
    bool changed = active != _active || playList != _playList;
    for (const Medium &medium : media) {
        Shared &shared = present[medium.path];
        if (const auto before = _media.find(medium.path);
            before != _media.end() && before->second.mount == medium.mount)
            shared = std::move(before->second);
        if (!shared.source) {
            shared.mount = medium.mount;
            shared.source = std::make_shared<MediumClipSource>(_environment);
            changed = true;
        }
    }
    changed = changed || present.size() != _media.size();
    _media = std::move(present);
    _active = active;
    _playList = playList;
    const qint64 now = _environment.clock->now();
    for (const Medium &medium : media) {
        Shared &shared = _media[medium.path];
        const bool due = shared.again != 0 && now >= shared.again;
        if (!shared.underWay && (shared.clips != medium.clips || due))
            list(medium.path, shared, medium.clips);
    }
    if (changed) publish();
}

void ClipShare::list(const std::string &path, Shared &medium, std::uint64_t clips)
{
    const auto job = [self = QPointer<ClipShare>(this), path, mount = medium.mount, source = medium.source] {
        const std::optional<ClipListing> listing = takeClipListing(path, *source);
        QMetaObject::invokeMethod(
            QCoreApplication::instance(),
            [self, path, mount, listing] {
                if (self) self->listed(path, mount, listing);
            },
            Qt::QueuedConnection);
    };
    if (!_run(path, job)) return;
    medium.underWay = true;
    medium.clips = clips;
    medium.again = 0;
}

void ClipShare::listed(const std::string &path, std::uint64_t mount,
                       const std::optional<ClipListing> &listing)
{
    const auto found = _media.find(path);
    if (found == _media.end() || found->second.mount != mount) return; // another one is there now
    Shared &medium = found->second;
    medium.underWay = false;
    if (!listing || !listing->settled) medium.again = _environment.clock->after(settleTime);
    if (!listing || *listing == medium.listing) return;
    medium.listing = *listing;
    publish();
}

void ClipShare::publish()
{
    std::vector<ClipListing> listings;
    std::vector<ClipListing> played;
    for (const auto &[path, medium] : _media) {
        if (medium.listing.folder.empty()) continue;
        listings.push_back(medium.listing);
        if (path != _active) continue;
        ClipListing list = medium.listing;
        list.playList = _playList;
        list.clips = clipsOfPlayList(list.clips, _playList);
        played.push_back(list);
    }
    std::string error;
    if (!_allClips.publish(listings, &error) || !_listedClips.publish(played, &error))
        qmxLogText(QmxLogLevel::Warning, module, __LINE__, QString::fromStdString(error));
}
