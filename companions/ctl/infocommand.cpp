// SPDX-License-Identifier: GPL-3.0-or-later
// info: what a clip is, by its file alone.
#include "companions/ctl/commands.h"

#include "platform/control/clipdescription.h"
#include "platform/qmx/clip/qmxclipreader.h"
#include "platform/qmx/core/qmxcounted.h"
#include "platform/qmx/core/qmxenvironment.h"
#include "platform/qmx/core/qmxplaces.h"

#include <QFileInfo>
#include <QJsonArray>

#include <algorithm>

namespace {
bool keepsTorn(const QJsonObject &take)
{
    return take.value("torn_pictures").toString() == QLatin1String("keep");
}

/// What happened in the take, in short: nothing when nothing did.
QString happened(const QJsonObject &take)
{
    static constexpr struct
    {
        const char *field, *one, *many;
    } rows[] = {{"replaced", "frame repeats the one before", "frames repeat the one before"},
                {"late_ticks", "tick late", "ticks late"}};
    QStringList parts;
    // (Pictures that came torn and were kept count as well: they are there, though not whole.)
    const QString lost = keepsTorn(take) ? QStringLiteral(" lost or torn") : QStringLiteral(" lost");
    if (const qint64 count = take.value("lost").toInteger(); count > 0)
        parts.append(qmxCounted(count, "frame") + lost);
    for (const auto &row : rows)
        if (const qint64 count = take.value(QLatin1String(row.field)).toInteger(); count > 0)
            parts.append(qmxCounted(count, row.one, row.many));
    const QJsonObject late = take.value("late_start").toObject();
    if (const qint64 frames = late.value("frames").toInteger(); frames > 0)
        parts.append(QStringLiteral("begun %1 behind %2")
                         .arg(qmxCounted(frames, "frame"), late.value("asked").toString()));
    if (const qsizetype breaks = take.value("timecode_breaks").toArray().size(); breaks > 0)
        parts.append(qmxCounted(breaks, "timecode break"));
    if (take.value("closed_by").toString() == "repair") parts.append(QStringLiteral("ended by a crash"));
    return parts.join(QStringLiteral(", "));
}

/// "3 frames, 10:00:04:01 to 10:00:04:03", the first ten of them, and how many more there are.
QStringList lostRuns(const QJsonObject &object)
{
    constexpr qsizetype mostShown = 10;
    const QJsonArray runs = object.value("lost_frames").toArray();
    QStringList lines;
    for (qsizetype i = 0; i < std::min(runs.size(), mostShown); ++i) {
        const QJsonObject run = runs[i].toObject();
        const auto place = [&run](const char *frame, const char *timecode) {
            const QString text = run[QLatin1String(timecode)].toString();
            return text.startsWith('-') ? QString::number(run[QLatin1String(frame)].toInteger()) : text;
        };
        const QString first = place("first", "first_timecode"), last = place("last", "last_timecode");
        lines.append(qmxCounted(run["frames"].toInteger(), "frame") +
                     (first == last ? QStringLiteral(" at %1").arg(first)
                                    : QStringLiteral(", %1 to %2").arg(first, last)));
    }
    const qint64 leftOut = object["proof"]["take"]["losses_left_out"].toInteger();
    if (const qint64 more = runs.size() - lines.size() + leftOut; more > 0)
        lines.append(qmxCounted(more, "more place"));
    return lines;
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
    QmxImageDesc shape = info.image;
    shape.setDataType({});
    line("format", shape.toString() + ' ' + info.codecName());
    line("length",
         QStringLiteral("%1 s, %2").arg(number("seconds"), 0, 'f', 2).arg(qmxCounted(info.frames, "frame")));
    line("timecode", info.timecodeAt(0).isValid() ? object.value("start_timecode").toString() + " to " +
                                                        object.value("end_timecode").toString()
                                                  : QStringLiteral("none"));
    line("sound", info.audio.channels() > 0 ? qmxCounted(info.audio.channels(), "channel") + ", 48 kHz"
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
    for (const auto &value : take.value("exported_from").toArray()) {
        const QJsonObject from = value.toObject();
        line("from", QStringLiteral("%1, frames %2 to %3")
                         .arg(from.value("clip").toString())
                         .arg(from.value("first").toInteger())
                         .arg(from.value("last").toInteger()));
    }
    line("user bits", take.value("user_bits").toString());
    line("happened", happened(take));
    for (const QString &run : lostRuns(object))
        line(keepsTorn(take) ? "lost or torn" : "lost", run);
    return lines;
}
} // namespace

ExitCode ctlInfo(Recorder &recorder, const Report &report, const Arguments &arguments)
{
    const QString name = QString::fromStdString(arguments.word(0));
    // (The file is enough; which medium is active is not known without the store.)
    if (const QString problem = recorder.storeProblem(); !problem.isEmpty() && !name.contains('/'))
        return report.error(ExitCode::NoStore, problem, "`xpctl info` takes a full path, too");
    const QFileInfo file(
        recorder.here(name.contains('/') ? name : recorder.text(eParam_ActiveMediaPath) + '/' + name));
    QmxClipInfo info;
    const QmxError error = QmxClipReader::probe(file.filePath(), info, recorder.environment());
    if (error.isError())
        return report.error(ExitCode::Refused, error.toString(),
                            "`xpctl clips` lists those of the active medium");
    const QJsonObject object = describeClip(file, info, recorder.environment());
    report.result(text(object, info), object);
    return ExitCode::Done;
}
