// SPDX-License-Identifier: GPL-3.0-or-later
// info: what a clip is, by its file alone.
#include "companions/ctl/commands.h"

#include "platform/qmx/clip/qmxclipcheck.h"
#include "platform/qmx/clip/qmxclipreader.h"
#include "platform/qmx/core/qmxenvironment.h"
#include "platform/qmx/core/qmxplaces.h"

#include <QDateTime>
#include <QDir>
#include <QFileInfo>
#include <QJsonArray>

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

QJsonObject describe(const QFileInfo &file, const QmxClipInfo &info)
{
    const double rate = info.image.frameRate().toDouble();
    const double seconds = rate > 0 ? double(info.frames) / rate : 0;
    const qint64 bytes = bytesOf(file);
    QJsonArray lost;
    for (const auto &[first, last] : info.lostFrames)
        lost.append(QJsonObject{{"first", first}, {"last", last}});
    return {{"clip", file.fileName()},
            {"path", QmxEnvironment::current().places->within(file.absoluteFilePath())},
            {"width", info.image.width()},
            {"height", info.image.height()},
            {"scan", scanName(info.image)},
            {"frames_per_second", rate},
            {"codec", info.image.dataType().name()},
            {"frames", info.frames},
            {"seconds", seconds},
            {"start_timecode", info.timecodeAt(0).toString()},
            {"end_timecode", info.timecodeAt(info.frames - 1).toString()},
            {"bytes", bytes},
            {"bits_per_second", seconds > 0 ? double(bytes) * 8 / seconds : 0},
            {"date",
             file.lastModified().toOffsetFromUtc(file.lastModified().offsetFromUtc()).toString(Qt::ISODate)},
            {"audio_channels", info.audio.channels()},
            {"reel", info.reelName},
            {"made_by", info.foreign ? "another program" : "this recorder"},
            {"is_closed", info.closed},
            {"is_protected", !(file.permissions() & QFileDevice::WriteOwner)},
            {"lost_frames", lost}};
}

/// What happened in the take, in short: nothing when nothing did.
QString happened(const QJsonObject &take)
{
    static constexpr struct
    {
        const char *field;
        const char *text;
    } rows[] = {{"lost", "%1 frames lost"},
                {"replaced", "%1 frames repeat the one before"},
                {"late_ticks", "%1 ticks late"}};
    QStringList parts;
    for (const auto &row : rows)
        if (const qint64 count = take.value(QLatin1String(row.field)).toInteger(); count > 0)
            parts.append(QString::fromLatin1(row.text).arg(count));
    if (const qsizetype breaks = take.value("timecode_breaks").toArray().size(); breaks > 0)
        parts.append(QStringLiteral("%1 timecode breaks").arg(breaks));
    if (take.value("closed_by").toString() == "repair") parts.append(QStringLiteral("ended by a crash"));
    return parts.join(QStringLiteral(", "));
}

/// What the clip carries of itself; that it is true, `xpctl verify` finds out.
QJsonObject proofOf(const QmxClipCheck &claims)
{
    return {{"is_carried", claims.hasProof || (!claims.closed && !claims.chain.isEmpty())},
            {"chain", QString::fromLatin1(claims.chain)},
            {"take", claims.take}};
}

QString text(const QJsonObject &object, const QmxClipInfo &info)
{
    constexpr double million = 1e6;
    QString lines;
    const auto line = [&lines](const char *name, const QString &value) {
        if (!value.isEmpty()) lines += QStringLiteral("%1 %2\n").arg(QLatin1String(name), -12).arg(value);
    };
    const auto number = [&object](const char *name) { return object.value(QLatin1String(name)).toDouble(); };
    line("clip", object.value("path").toString());
    line("format", info.image.toString());
    line("length", QStringLiteral("%1 s, %2 frames").arg(number("seconds"), 0, 'f', 2).arg(info.frames));
    line("timecode", info.timecodeAt(0).isValid() ? object.value("start_timecode").toString() + " to " +
                                                        object.value("end_timecode").toString()
                                                  : QStringLiteral("none"));
    line("sound", info.audio.channels() > 0 ? QStringLiteral("%1 channels, 48 kHz").arg(info.audio.channels())
                                            : QStringLiteral("none"));
    line("size", QStringLiteral("%1 MB, %2 Mb/s")
                     .arg(number("bytes") / million, 0, 'f', 1)
                     .arg(number("bits_per_second") / million, 0, 'f', 1));
    line("date", object.value("date").toString());
    line("reel", info.reelName);
    line("made by", object.value("made_by").toString() +
                        (info.closed ? QString() : QStringLiteral(", not finished")) +
                        (object.value("is_protected").toBool() ? QStringLiteral(", protected") : QString()));
    const QJsonObject proof = object.value("proof").toObject();
    const QJsonObject take = proof.value("take").toObject();
    if (proof.value("is_carried").toBool()) line("proof", "chain " + proof.value("chain").toString());
    if (!take.isEmpty())
        line("take", QStringLiteral("%1 on %2, from %3")
                         .arg(take.value("program").toString(), take.value("host").toString(),
                              take.value("begun").toString()));
    line("happened", happened(take));
    for (const auto &[first, last] : info.lostFrames)
        line("lost", QStringLiteral("frames %1 to %2").arg(first).arg(last));
    return lines;
}
} // namespace

ExitCode ctlInfo(Recorder &recorder, const Report &report, const Arguments &arguments)
{
    const QString name = QString::fromStdString(arguments.word(0));
    const QFileInfo file(
        recorder.here(name.contains('/') ? name : recorder.text(eParam_ActiveMediaPath) + '/' + name));
    QmxClipInfo info;
    const QmxError error = QmxClipReader::probe(file.filePath(), info, recorder.environment());
    if (error.isError())
        return report.error(ExitCode::Refused, error.toString(),
                            "`xpctl clips` lists those of the active medium");
    QJsonObject object = describe(file, info);
    QmxClipCheck claims;
    if (!info.foreign) QmxClipCheck::claims(file.filePath(), claims, recorder.environment());
    object["proof"] = proofOf(claims);
    report.result(text(object, info), object);
    return ExitCode::Done;
}
