// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QJsonArray>
#include <QList>
#include <QString>

class Recorder;

/// A clip of a take, and how many frames of the take are safe in it. A value.
struct TakeClip
{
    QString path; ///< as the recorder calls it
    qint64 frames = 0;
};

/// The clips of one take in their order: a rollover parts it, and what an answer says of a take it says of
/// all of them. Media are waited for half a second each: of one that does not answer no clip is found, and
/// one that is known to lie there has 0 frames.
namespace TakeClips {

/// Those of the take whose last clip has this name. What lies on the media tells:
/// the names that rollovers give, and the record of who was written when. A clip that is still being finished
/// behind the next one's back is waited for.
QList<TakeClip> endingWith(const Recorder &recorder, const QString &name);
/// The same when it is known where they lie; the last of them holds what is counted of the current clip.
QList<TakeClip> at(const Recorder &recorder, const QStringList &paths);

qint64 frames(const QList<TakeClip> &clips);
/// "/media/A/take_001.mov (250 frames) and /media/B/take_001_R2.mov (50 frames)"; of one the path alone.
QString text(const QList<TakeClip> &clips);
/// [{"path", "frames"}]
QJsonArray toJson(const QList<TakeClip> &clips);

} // namespace TakeClips
