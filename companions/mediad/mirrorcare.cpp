// SPDX-License-Identifier: GPL-3.0-or-later
#include "companions/mediad/mirrorcare.h"

#include "platform/qmx/clip/continuedcopy.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>

namespace {

/// What could not be completed now is tried again.
constexpr std::int64_t again = 30'000'000'000;

const Medium *mediumAt(const std::vector<Medium> &media, const std::string &folder)
{
    const Medium *best = nullptr;
    for (const Medium &medium : media) {
        const bool inside = folder == medium.path || folder.starts_with(medium.path + "/");
        if (inside && (!best || best->path.size() < medium.path.size())) best = &medium;
    }
    return best;
}

/// Whether this is where the second copy of `clip` has gone on.
bool continues(const std::string &name, const std::string &clip)
{
    for (int part = 2; part <= mostCopyParts; ++part)
        if (name == continuedCopyName(QString::fromStdString(clip), part).toStdString()) return true;
    return false;
}

std::string word(const QJsonObject &object, const char *field)
{
    return object.value(QLatin1String(field)).toString().toStdString();
}

} // namespace

void MirrorCare::load(const std::string &text)
{
    _pending.clear();
    for (const auto &value : QJsonDocument::fromJson(QByteArray::fromStdString(text)).array()) {
        const QJsonObject object = value.toObject();
        _pending.push_back({word(object, "clip"), word(object, "one"), word(object, "other")});
    }
}

std::string MirrorCare::print() const
{
    if (_pending.empty()) return {};
    QJsonArray array;
    for (const Pending &entry : _pending)
        array.append(QJsonObject{{"clip", QString::fromStdString(entry.clip)},
                                 {"one", QString::fromStdString(entry.one)},
                                 {"other", QString::fromStdString(entry.other)}});
    return QJsonDocument(array).toJson(QJsonDocument::Compact).toStdString();
}

/// Which media the clips of a take are on is decided when it begins: one of them may be gone a moment later.
void MirrorCare::follow(const std::vector<Medium> &media, const MediaParameters &is, bool runs)
{
    if (!runs || _pair.one.empty())
        _pair = {is.active, is.mirror, is.currentClip};
    else if (is.active != _pair.one && is.active != _pair.other && mediumAt(media, _pair.one))
        _pair = {is.active, is.mirror, _pair.clipBefore}; // the take has moved on
}

/// The next clip of a take may be seen on its second medium before anybody has told that the first one is
/// another now.
void MirrorCare::followJoin(const std::vector<Medium> &media, const MediaParameters &is, Pending &entry)
{
    const auto has = [&entry](const Medium &medium) {
        return medium.holds(entry.clip) ||
               std::find(medium.recorded.begin(), medium.recorded.end(), entry.clip) != medium.recorded.end();
    };
    const Medium *one = mediumAt(media, entry.one);
    const Medium *active = mediumAt(media, is.active);
    if (one && active && active != mediumAt(media, entry.other) && !has(*one) && has(*active))
        entry.one = is.active;
}

/// The second copy has gone on on another medium in the middle of a clip: there it is to be whole.
void MirrorCare::followMove(const std::vector<Medium> &media, const MediaParameters &is, Pending &entry)
{
    const Medium *mirror = mediumAt(media, is.mirror);
    if (!mirror || mirror == mediumAt(media, entry.one)) return;
    const auto goesOn = [&entry](const std::string &name) { return continues(name, entry.clip); };
    if (std::any_of(mirror->recorded.begin(), mirror->recorded.end(), goesOn)) entry.other = is.mirror;
}

/// Every clip of a take that is to be on two media: whether it is will be looked at when the take has ended.
void MirrorCare::note(const std::vector<Medium> &media, const MediaParameters &is)
{
    const Medium *const places[] = {mediumAt(media, _pair.one), mediumAt(media, _pair.other)};
    if (_pair.other.empty() || places[0] == places[1]) return;
    const auto add = [this](const std::string &clip) {
        const bool known = std::any_of(_pending.begin(), _pending.end(), [&clip](const Pending &entry) {
            return entry.clip == clip || continues(clip, entry.clip);
        });
        if (!known) _pending.push_back({clip, _pair.one, _pair.other});
    };
    for (const Medium *place : places) {
        if (!place) continue;
        for (const std::string &clip : place->recorded)
            add(clip);
        // A take that was over before anybody saw it grow.
        if (is.currentClip != _pair.clipBefore && place->holds(is.currentClip)) add(is.currentClip);
    }
    for (Pending &entry : _pending) {
        followJoin(media, is, entry);
        followMove(media, is, entry);
    }
    if (_pending.size() > most) _pending.erase(_pending.begin(), _pending.end() - most);
}

/// A medium that is back is tried at once.
void MirrorCare::noteMounts(const std::vector<Medium> &media)
{
    std::map<std::string, std::uint64_t> mounts;
    for (const Medium &medium : media)
        mounts[medium.path] = medium.mount;
    if (mounts != _mounts)
        for (Pending &entry : _pending)
            entry.notBefore = 0;
    _mounts = std::move(mounts);
}

std::optional<MediaOrder> MirrorCare::step(std::int64_t now, const std::vector<Medium> &media,
                                           const MediaParameters &is, bool tookPlace)
{
    const bool recording = is.daemonRuns && is.status == TransportStatus::Recording;
    const bool runs = recording || tookPlace || _wasRecording;
    _wasRecording = recording;
    noteMounts(media);
    follow(media, is, runs);
    if (runs) note(media, is);
    if (recording || _underWay) return std::nullopt;
    for (Pending &entry : _pending) {
        const Medium *one = mediumAt(media, entry.one);
        const Medium *other = mediumAt(media, entry.other);
        // On a full medium nothing can be completed: the copy belongs where copies go now.
        const Medium *mirror = mediumAt(media, is.mirror);
        if (one && other && other->percentFree <= MediumLevel::full && mirror && mirror != other &&
            mirror != one) {
            entry.other = is.mirror;
            other = mirror;
        }
        const bool ready = one && other && one != other && one->writable && other->writable &&
                           !one->beingRecorded && !other->beingRecorded;
        if (!ready || entry.notBefore > now) continue;
        _underWay = true;
        return MediaOrder{{}, "complete", entry.clip, entry.one, entry.other};
    }
    return std::nullopt;
}

void MirrorCare::ended(std::int64_t now, const MediaOrder &order, bool done)
{
    _underWay = false;
    const auto found = std::find_if(_pending.begin(), _pending.end(), [&order](const Pending &entry) {
        return entry.clip == order.clip && entry.one == order.from && entry.other == order.to;
    });
    if (found == _pending.end()) return;
    if (done)
        _pending.erase(found);
    else
        found->notBefore = now + again;
}
