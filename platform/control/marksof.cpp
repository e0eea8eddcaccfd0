// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/control/marksof.h"

#include "platform/product/channelviews.h"
#include "platform/qmx/core/qmxchannel.h"
#include "platform/qmx/core/qmxplaces.h"

#include <QFileInfo>
#include <QJsonArray>

namespace {
/// Whether a path is that of a clip of this recorder's: it lies on a medium, and nowhere below, where those
/// of further channels are.
bool liesOnMedium(const Recorder &recorder, const QString &path)
{
    const QmxPlaces &places = *recorder.environment().places;
    const QString folder = places.within(path).section('/', 0, -2);
    if (folder == recorder.text(eParam_ActiveMediaPath)) return true;
    const QString medium = folder.section('/', -1);
    return folder == places.within(places.media) + '/' + medium && medium != "." && medium != "..";
}
} // namespace

Material Material::of(const Recorder &recorder, const QString &name)
{
    Material material;
    const auto part = QmxClipPart::fromText(name);
    if (name.isEmpty() || !part) {
        material.why = name.isEmpty() ? QStringLiteral("there is no current clip") : recorder.whyNoClip(name);
        return material;
    }
    const bool isPath = part->clip.startsWith('/');
    material.path = isPath ? part->clip : recorder.text(eParam_ActiveMediaPath) + '/' + part->clip;
    material.clip = QFileInfo(material.path).fileName();
    if (!liesOnMedium(recorder, material.path) || !QFileInfo::exists(recorder.here(material.path))) {
        material.why = QStringLiteral("there is no clip %1").arg(material.path);
        return material;
    }
    QmxError error = QmxClipReader::probe(material.path, material.info, recorder.environment());
    if (error.isError())
        material.why = QStringLiteral("%1 cannot be played: %2")
                           .arg(material.clip, recorder.whyUnplayable(material.path));
    else if (error = part->resolve(material.info, material.range); error.isError())
        material.why = error.toString();
    return material;
}

double Material::rate() const
{
    return info.image.frameRate().isValid() ? info.image.frameRate().toDouble() : 0;
}

Answer Material::refusal() const
{
    return Answer::refused(Cause::Deck, "no_clip", why, "`xpctl clips` lists those there are");
}

QString Material::describe() const
{
    QString frames = QStringLiteral("its frames are 0 to %1").arg(info.frames - 1);
    if (!info.timecodeAt(0).isValid()) return frames;
    return QStringLiteral("its timecodes are %1 to %2, %3")
        .arg(info.timecodeAt(0).toString(), info.timecodeAt(info.frames - 1).toString(), frames);
}

std::optional<qint64> Material::frameOnOutput(const Recorder &recorder) const
{
    const auto current = QmxClipPart::fromText(recorder.clip());
    if (!recorder.isInPlay() || !current || current->clip != clip) return {};
    // In a list the frames are counted through all of it: there the timecode says which one it is.
    if (recorder.value<PlaybackSource>(eParam_PlaybackSource) != PlaybackSource::CurrentClip)
        return QmxClipPart::frameAt(info, recorder.timecode());
    QmxClipPart::Range played;
    if (current->resolve(info, played).isError()) return {};
    return played.first + recorder.counter("frame_on_output");
}

QmxEnvironment markingEnvironment(const Recorder &recorder)
{
    const QmxEnvironment &own = recorder.environment();
    const int owner = ChannelViews::playsOf(own.places->channel);
    return owner > 0 ? QmxChannel::environmentOf(owner) : own;
}

QJsonObject marksObject(const ClipMarks &marks, const QmxClipInfo &info)
{
    const auto place = [&info](qint64 frame) {
        const QmxTimecode timecode = info.timecodeAt(frame);
        return QJsonObject{{"frame", frame},
                           {"timecode", timecode.isValid() ? timecode.toString() : QString()}};
    };
    QJsonArray points;
    for (const ClipMarks::Point &point : marks.points) {
        QJsonObject object = place(point.frame);
        object["name"] = point.name;
        points.append(object);
    }
    QJsonObject object{{"points", points}};
    if (marks.in) object["in"] = place(*marks.in);
    if (!marks.out) return object;
    QJsonObject out = place(*marks.out);
    // The timecode behind the last frame of a clip is that which would follow.
    const QmxTimecode last = info.timecodeAt(*marks.out - 1);
    if (*marks.out == info.frames && last.isValid()) out["timecode"] = last.advanced(1).toString();
    object["out"] = out;
    return object;
}
