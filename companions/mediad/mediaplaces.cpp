// SPDX-License-Identifier: GPL-3.0-or-later
#include "companions/mediad/mediaplaces.h"

#include "companions/mediad/thumbnails.h"
#include "platform/product/mediumhelper.h"
#include "platform/qmx/core/qmxloglevel.h"
#include "platform/qmx/core/qmxplaces.h"
#include "platform/qmx/core/qmxtaskthread.h"

#include <cerrno>
#include <cstring>
#include <mutex>
#include <optional>
#include <utility>

namespace {
constexpr const char *module = "mediaplaces";
constexpr const char *mountTablePath = "/proc/self/mountinfo";
/// Clips are listed less often than media are looked at: on a full medium there are many. Every change of the
/// transport lists them too.
constexpr std::chrono::seconds listInterval(1);
constexpr std::chrono::milliseconds firstLook(2000);
} // namespace

struct MediaPlaces::Place
{
    Place(std::uint64_t number, const QmxEnvironment &environment)
        : mount(number), look(std::make_shared<MediumLook>(environment))
    {}
    ~Place()
    {
        // The medium is gone or the program ends: work may hang there, and starts again the next time.
        for (const auto &thread : {&work, &pictures})
            if (*thread) (*thread)->abandon();
    }

    const std::uint64_t mount;
    /// Of ten thousand clips it may come when nobody waits any more: it is good for the next step then.
    struct Answer
    {
        std::mutex mutex;
        std::optional<Medium> medium;
        qint64 since = 0; ///< when its listing was begun
        bool isNew = false;
    };

    const std::shared_ptr<MediumLook> look; ///< only on the medium's helper thread
    const std::shared_ptr<Answer> answer = std::make_shared<Answer>();
    std::optional<Medium> known; ///< of the last look
    qint64 knownSince = 0;       ///< when that was begun
    std::uint64_t pictured = 0;  ///< the clips that have thumbnails, as Medium::clips; 0: none
    std::unique_ptr<QmxTaskThread> work;
    std::unique_ptr<QmxTaskThread> pictures; ///< of ten thousand clips they take long; nothing waits for them
};

MediaPlaces::MediaPlaces(const QmxEnvironment &environment)
    : _environment(environment), _mountTable(QString::fromLatin1(mountTablePath))
{
    if (!_mountTable.open(QIODevice::ReadOnly))
        qmxLogText(QmxLogLevel::Error, "mediadaemon", __LINE__,
                   QStringLiteral("Cannot read %1: %2; no media are found")
                       .arg(_mountTable.fileName(), _mountTable.errorString()));
}

MediaPlaces::~MediaPlaces() = default;

std::vector<Mount> MediaPlaces::mounts()
{
    if (!_mountTable.isOpen()) return {};
    _mountTable.seek(0);
    return parseMountTable(_mountTable.readAll().toStdString(), _environment.places->media.toStdString());
}

std::vector<Medium> MediaPlaces::look(bool isFirst)
{
    const bool list = _listedAt == 0 || _environment.clock->since(_listedAt) >= listInterval;
    if (list) _listedAt = _environment.clock->now();
    std::map<std::string, std::unique_ptr<Place>> places;
    std::vector<Medium> found;
    for (const Mount &mount : mounts()) {
        std::unique_ptr<Place> &place = places[mount.path];
        if (const auto before = _places.find(mount.path); before != _places.end())
            place = std::move(before->second);
        if (!place || place->mount != mount.mount) place = std::make_unique<Place>(mount.mount, _environment);
        lookAt(*place, mount, list, isFirst);
        if (place->known) found.push_back(*place->known);
    }
    _places = std::move(places);
    return found;
}

void MediaPlaces::lookAt(Place &place, const Mount &mount, bool list, bool isFirst)
{
    const auto wait = isFirst ? firstLook : MediumHelper::limit;
    MediumHelper::instance().ask(
        mount.path,
        [look = place.look, mount, list, answer = place.answer, clock = _environment.clock] {
            const qint64 since = clock->now();
            std::optional<Medium> medium = look->look(mount, list);
            const std::lock_guard lock(answer->mutex);
            answer->medium = std::move(medium);
            if (list) answer->since = since;
            answer->isNew = true;
        },
        wait);
    const auto room = MediumHelper::instance().answer<std::optional<MediumRoom>>(
        mount.path, [files = _environment.files, mount] { return measureRoom(*files, mount); }, wait,
        MediumHelper::Lane::Room);
    {
        const std::lock_guard lock(place.answer->mutex);
        if (std::exchange(place.answer->isNew, false)) place.known = std::move(place.answer->medium);
        place.knownSince = place.answer->since;
    }
    if (!place.known) return;
    if (!room)
        place.known->writable = false; // it hangs; nothing is begun on it
    else if (!*room)
        place.known.reset();
    else
        (*room)->applyTo(*place.known);
}

std::optional<MediaPlaces::Seen> MediaPlaces::seen(const std::string &path) const
{
    const auto place = _places.find(path);
    if (place == _places.end() || !place->second->known) return {};
    return Seen{*place->second->known, place->second->knownSince};
}

bool MediaPlaces::work(const std::string &path, std::function<void()> job)
{
    constexpr int bound = 4;
    const auto place = _places.find(path);
    if (place == _places.end()) return false; // gone again
    auto &thread = place->second->work;
    if (!thread) thread = std::make_unique<QmxTaskThread>(QStringLiteral("media-work"), bound, _environment);
    return thread->post(std::move(job));
}

void MediaPlaces::makePictures(bool isRecording)
{
    constexpr int bound = 1;
    *_recording = isRecording;
    for (const auto &entry : _places) {
        const std::string &path = entry.first;
        Place &place = *entry.second;
        if (isRecording) place.pictured = 0;
        if (isRecording || !place.known || place.pictured == place.known->clips) continue;
        if (!place.pictures)
            place.pictures =
                std::make_unique<QmxTaskThread>(QStringLiteral("media-pictures"), bound, _environment);
        const bool posted = place.pictures->post([path, environment = _environment, recording = _recording] {
            if (keepThumbnails(path, environment, [&recording] { return !*recording; }) < 0)
                qmxLogOutput(QmxLogLevel::Warning, module, __LINE__,
                             "No pictures of the clips of %s are kept: there is no folder of this account "
                             "for them in %s: %s\n",
                             path.c_str(), environment.places->thumbnails.toLocal8Bit().constData(),
                             std::strerror(errno));
        });
        if (posted) place.pictured = place.known->clips;
    }
}
