// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/control/clipdescription.h"

#include "platform/qmx/clip/qmxclipcheck.h"
#include "platform/qmx/core/qmxplaces.h"

#include <QDateTime>
#include <QDir>
#include <QJsonArray>

#include <algorithm>

namespace {
/// Bytes of a file, or of all pictures in a folder.
qint64 bytesOf(const QFileInfo &file)
{
    if (!file.isDir()) return file.size();
    qint64 bytes = 0;
    for (const QFileInfo &picture : QDir(file.filePath()).entryInfoList(QDir::Files))
        bytes += picture.size();
    return bytes;
}

QString scanName(const QmxImageDesc &image)
{
    return image.isInterlaced() ? QStringLiteral("i") : QStringLiteral("p");
}

/// What the clip carries of itself; that it is true, `xpctl verify` finds out.
QJsonObject proofOf(const QmxClipCheck &claims)
{
    return {{"is_carried", claims.hasProof || (!claims.closed && !claims.chain.isEmpty())},
            {"chain", QString::fromLatin1(claims.chain)},
            {"take", claims.take}};
}
/// The runs of frames that have lost something: those that are not in the file, and those before or at which
/// pictures of the input are missing, by the record of the take.
QJsonArray lostRuns(const QmxClipInfo &info, const QJsonObject &take)
{
    struct Run
    {
        qint64 first, last, frames;
    };
    QList<Run> runs;
    for (const auto &[first, last] : info.lostFrames)
        runs.append({first, last, last - first + 1});
    for (const auto &value : take.value("losses").toArray()) {
        const QJsonObject loss = value.toObject();
        // (What was lost at the end stands before a frame that there is not.)
        const qint64 end = std::max<qint64>(info.frames - 1, 0);
        const qint64 first = std::min(loss["before_frame"].toInteger(), end);
        runs.append({first, std::min(loss["to_frame"].toInteger(first), end), loss["frames"].toInteger()});
    }
    std::sort(runs.begin(), runs.end(),
              [](const Run &one, const Run &other) { return one.first < other.first; });
    QList<Run> joined;
    for (const Run &run : std::as_const(runs)) {
        if (joined.isEmpty() || run.first > joined.last().last + 1) {
            joined.append(run);
        } else {
            joined.last().last = std::max(joined.last().last, run.last);
            joined.last().frames += run.frames;
        }
    }
    QJsonArray list;
    for (const Run &run : std::as_const(joined))
        list.append(QJsonObject{{"first", run.first},
                                {"last", run.last},
                                {"frames", run.frames},
                                {"first_timecode", info.timecodeAt(run.first).toString()},
                                {"last_timecode", info.timecodeAt(run.last).toString()}});
    return list;
}
} // namespace

QJsonObject describeClip(const QFileInfo &file, const QmxClipInfo &info, const QmxEnvironment &environment)
{
    QmxClipCheck claims;
    if (!info.foreign) QmxClipCheck::claims(file.filePath(), claims, environment);
    const double rate = info.image.frameRate().toDouble();
    const double seconds = rate > 0 ? double(info.frames) / rate : 0;
    const qint64 bytes = bytesOf(file);
    return {{"clip", file.fileName()},
            {"path", environment.places->within(file.absoluteFilePath())},
            {"width", info.image.width()},
            {"height", info.image.height()},
            {"scan", scanName(info.image)},
            {"frames_per_second", rate},
            {"codec", info.codecName()},
            {"frames", info.frames},
            {"seconds", seconds},
            {"start_timecode", info.timecodeAt(0).toString()},
            {"end_timecode", info.timecodeAt(info.frames - 1).toString()},
            {"bytes", bytes},
            {"bits_per_second", seconds > 0 ? double(bytes) * 8 / seconds : 0},
            {"date", clipDate(file.lastModified())},
            {"audio_channels", info.audio.channels()},
            {"reel", info.reelName},
            {"made_by", info.foreign ? "another program" : "this recorder"},
            {"is_closed", info.closed},
            {"is_protected", !(file.permissions() & QFileDevice::WriteOwner)},
            {"lost_frames", lostRuns(info, claims.take)},
            {"proof", proofOf(claims)}};
}

QString clipDate(const QDateTime &time)
{
    return time.toOffsetFromUtc(time.offsetFromUtc()).toString(Qt::ISODate);
}
