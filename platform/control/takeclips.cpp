// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/control/takeclips.h"

#include "platform/control/recorder.h"
#include "platform/product/clipnames.h"
#include "platform/product/mediumhelper.h"
#include "platform/qmx/clip/qmxclipcheck.h"
#include "platform/qmx/clip/qmxclipreader.h"
#include "platform/qmx/core/qmxcounted.h"
#include "platform/qmx/core/qmxplaces.h"

#include <QDateTime>
#include <QDir>
#include <QFileInfo>
#include <QJsonObject>
#include <QStringList>

#include <algorithm>
#include <optional>

namespace {
constexpr std::chrono::milliseconds mediumWithin(500);
constexpr std::chrono::milliseconds lookEvery(100);

/// What a clip says of when it was recorded.
struct Record
{
    qint64 frames = 0;
    QDateTime begun;
    QDateTime ended; ///< not valid: it grows
};

/// What a clip says of itself; nothing when there is none, or its medium does not answer.
std::optional<QmxClipCheck> claimsOf(const Recorder &recorder, const QString &path)
{
    using Claims = std::optional<QmxClipCheck>;
    const auto look = [path, environment = recorder.environment()]() -> Claims {
        QmxClipCheck found;
        return QmxClipCheck::claims(path, found, environment).isError() ? Claims() : found;
    };
    const std::string medium = folderOf(path.toLocal8Bit().toStdString());
    return MediumHelper::instance().answer<Claims>(medium, look, mediumWithin).value_or(std::nullopt);
}

/// Nothing of a clip that was recorded elsewhere or under another name, either: a copy.
std::optional<Record> recordOf(const Recorder &recorder, const QString &path)
{
    const auto claims = claimsOf(recorder, path);
    if (!claims) return {};
    const auto time = [&claims](const char *name) {
        return QDateTime::fromString(claims->take[QLatin1String(name)].toString(), Qt::ISODate);
    };
    const QFileInfo file(path);
    const Record record{claims->info.frames, time("begun"), time("ended")};
    const bool isItself = claims->take["medium"] == file.path() && claims->take["clip"] == file.fileName();
    return isItself && record.begun.isValid() ? std::optional(record) : std::nullopt;
}

/// The folders that a clip of a take may lie in; that of second copies comes last.
QStringList folders(const Recorder &recorder)
{
    const QmxPlaces &places = *recorder.environment().places;
    QStringList found;
    for (const QString &name : QDir(places.media).entryList(QDir::Dirs | QDir::NoDotAndDotDot))
        found.append(places.within(places.media + '/' + name));
    const QString second = recorder.text(eParam_MirrorMediaPath);
    if (found.removeAll(second) > 0) found.append(second);
    return found;
}

struct Found
{
    QString path;
    Record record;
};

/// The newest clip of this name on any medium that was recorded before `next`, and as one take with it.
std::optional<Found> find(const Recorder &recorder, const QString &name, const std::optional<Found> &next)
{
    // Between the end of one and the first frames of the next that are safe, on media that are busy; a clip
    // that is finished behind the next one's back ends later.
    constexpr qint64 longestJoin = 15; // s
    std::optional<Found> best;
    for (const QString &folder : folders(recorder)) {
        const QString path = folder + '/' + name;
        const auto record = recordOf(recorder, path);
        if (!record || (best && record->begun <= best->record.begun)) continue;
        if (next && (record->begun > next->record.begun ||
                     (record->ended.isValid() && record->ended.addSecs(longestJoin) < next->record.begun)))
            continue;
        best = Found{path, *record};
    }
    return best;
}

/// Frames of the clip with which the take has ended. A take whose next medium is known is told as ended while
/// its last frames are still being written: then the clip itself says it, when it is closed.
qint64 framesOfLast(const Recorder &recorder, const QString &path)
{
    constexpr std::chrono::seconds closedWithin(3);
    const qint64 safe = recorder.counter("recorded_up_to");
    std::optional<Record> record;
    const auto look = [&] { record = recordOf(recorder, path); };
    const auto isClosed = [&record] { return record && record->ended.isValid(); };
    const bool isWhole = safe >= recorder.counter("current_clip_frames");
    return !isWhole && recorder.waitFor(isClosed, closedWithin, look, lookEvery) ? record->frames : safe;
}

QString nameBefore(const QString &name)
{
    return QString::fromLocal8Bit(clipNameBeforeRollover(name.toLocal8Bit().toStdString()));
}
} // namespace

namespace TakeClips {

QList<TakeClip> endingWith(const Recorder &recorder, const QString &name)
{
    // Names that are taken on the next medium are passed over.
    constexpr int mostPassedOver = 3;
    constexpr std::chrono::seconds closedWithin(10);
    QString before = nameBefore(name);
    std::optional<Found> next = before.isEmpty() ? std::nullopt : find(recorder, name, {});
    const QString last = next ? next->path : recorder.text(eParam_ActiveMediaPath) + '/' + name;
    QList<TakeClip> clips{{last, framesOfLast(recorder, last)}};
    for (int passedOver = 0; next && !before.isEmpty() && passedOver < mostPassedOver; ++passedOver) {
        if (auto found = find(recorder, before, next)) {
            const auto look = [&] {
                found->record = recordOf(recorder, found->path).value_or(found->record);
            };
            if (!found->record.ended.isValid())
                recorder.waitFor([&] { return found->record.ended.isValid(); }, closedWithin, look,
                                 lookEvery);
            clips.prepend({found->path, found->record.frames});
            next = found;
            passedOver = -1;
        }
        before = nameBefore(before);
    }
    return clips;
}

QList<TakeClip> at(const Recorder &recorder, const QStringList &paths)
{
    QList<TakeClip> clips;
    for (const QString &path : paths) {
        const bool isLast = clips.size() + 1 == paths.size();
        const auto claims = isLast ? std::nullopt : claimsOf(recorder, path);
        clips.append({path, isLast ? framesOfLast(recorder, path) : claims ? claims->info.frames : 0});
    }
    return clips;
}

qint64 frames(const QList<TakeClip> &clips)
{
    qint64 sum = 0;
    for (const TakeClip &clip : clips)
        sum += clip.frames;
    return sum;
}

QString text(const QList<TakeClip> &clips)
{
    if (clips.size() == 1) return clips.first().path;
    QStringList texts;
    for (const TakeClip &clip : clips)
        texts.append(QStringLiteral("%1 (%2)").arg(clip.path, qmxCounted(clip.frames, "frame")));
    return texts.join(" and ");
}

QJsonArray toJson(const QList<TakeClip> &clips)
{
    QJsonArray array;
    for (const TakeClip &clip : clips)
        array.append(QJsonObject{{"path", clip.path}, {"frames", clip.frames}});
    return array;
}

} // namespace TakeClips
