// SPDX-License-Identifier: GPL-3.0-or-later
// Marks of clips: set, removed, told.
#include "platform/control/marksof.h"
#include "platform/control/transportanswers.h"

#include "platform/store/eparamreplay.h"

#include <cerrno>

namespace {
QString clipOf(const VerbCall &call)
{
    return call.text("clip").isEmpty() ? call.recorder.clip() : call.text("clip");
}

QString placeText(const QmxClipInfo &info, qint64 frame)
{
    const QmxTimecode timecode = info.timecodeAt(frame);
    return timecode.isValid() ? QStringLiteral("frame %1, %2").arg(frame).arg(timecode.toString())
                              : QStringLiteral("frame %1").arg(frame);
}

QString linesOf(const Material &material, const ClipMarks &marks)
{
    QString text;
    const auto line = [&](const QString &name, qint64 frame) {
        text += QStringLiteral("%1  %2\n").arg(name, -12).arg(placeText(material.info, frame));
    };
    if (marks.in) line("in", *marks.in);
    if (marks.out) line("out", *marks.out);
    for (const ClipMarks::Point &point : marks.points)
        line(point.name, point.frame);
    return text.isEmpty() ? QStringLiteral("%1 has no marks").arg(material.clip) : text.trimmed();
}

/// Where a mark is to be: as it was asked for, or what is on the output. For out the frame shown is the last
/// one that belongs to the part.
std::optional<qint64> placeOf(const VerbCall &call, const Material &material, bool isOut)
{
    const QString where = call.text("where");
    if (!where.isEmpty()) {
        const auto asked = QmxClipPart::frameAt(material.info, where, isOut);
        return isOut && asked == 0 ? std::nullopt : asked; // no part ends before the first frame
    }
    const auto shown = material.frameOnOutput(call.recorder);
    return shown && isOut ? std::optional(*shown + 1) : shown;
}

Answer changeMarks(const VerbCall &call, const Material &material,
                   const std::function<QmxError(ClipMarks &)> &change, const QString &done)
{
    QString told;
    ClipMarks after;
    const QmxError error = ClipMarksFile::change(
        material.path,
        [&](ClipMarks &marks) {
            QmxError wrong = change(marks);
            after = marks;
            return wrong;
        },
        told, markingEnvironment(call.recorder));
    if (error.isError())
        return Answer::refused(Cause::Deck, error.value() == EINVAL ? "outside" : "marks_not_kept",
                               error.toString(), error.value() == EINVAL ? material.describe() : QString());
    call.recorder.write(eParam_MarksChanged, material.clip);
    QJsonObject effect{{"clip", material.clip}, {"marks", marksObject(after, material.info)}};
    if (!told.isEmpty()) effect["told"] = told;
    return Answer::done(told.isEmpty() ? done : told + "; " + done, effect);
}
} // namespace

Answer performMark(const VerbCall &call)
{
    const Material material = Material::of(call.recorder, clipOf(call));
    if (!material.isThere()) return material.refusal();
    const QString what = call.text("what");
    const bool isIn = what == QLatin1String("in");
    const bool isOut = what == QLatin1String("out");
    const auto name = ClipMarks::nameFrom(what);
    if (!name)
        return Answer::refused(
            Cause::Argument, "wrong_argument", QStringLiteral("'%1' is no name of a mark").arg(what),
            QStringLiteral("in, out, or a name of at most %1 characters").arg(ClipMarks::longestName));
    const auto frame = placeOf(call, material, isOut);
    if (!frame)
        return Answer::refused(
            Cause::Deck, "outside",
            call.text("where").isEmpty()
                ? QStringLiteral("%1 is not on the output").arg(material.clip)
                : QStringLiteral("%1 has no frame at %2").arg(material.clip, call.text("where")),
            material.describe());
    QString gone;
    const auto change = [&](ClipMarks &marks) -> QmxError {
        // One that contradicts the other takes its place: the last one set is what is meant.
        if (isIn) {
            marks.in = frame;
            if (!marks.out || *marks.out > *frame) return {};
            gone = QStringLiteral("out at frame %1 lay before it and is gone").arg(*marks.out);
            marks.out.reset();
        } else if (isOut) {
            marks.out = frame;
            if (!marks.in || *marks.in < *frame) return {};
            gone = QStringLiteral("in at frame %1 lay behind it and is gone").arg(*marks.in);
            marks.in.reset();
        } else if (!marks.setPoint(*name, *frame)) {
            return {ENOSPC, QStringLiteral("%1 has %2 marks already; remove some with: xpctl unmark NAME")
                                .arg(material.clip)
                                .arg(ClipMarks::mostPoints)};
        }
        return {};
    };
    Answer answer = changeMarks(
        call, material, change,
        QStringLiteral("%1 of %2: %3").arg(*name, material.clip, placeText(material.info, *frame)));
    if (answer.isDone() && !gone.isEmpty()) answer.sentence += "; " + gone;
    return answer;
}

Answer performUnmark(const VerbCall &call)
{
    const Material material = Material::of(call.recorder, clipOf(call));
    if (!material.isThere()) return material.refusal();
    const QString what = call.text("what");
    const auto change = [&](ClipMarks &marks) -> QmxError {
        if (what == QLatin1String("all"))
            marks = ClipMarks();
        else if (what == QLatin1String("in") && marks.in)
            marks.in.reset();
        else if (what == QLatin1String("out") && marks.out)
            marks.out.reset();
        else if (!marks.removePoint(what))
            return {ENOENT,
                    QStringLiteral("%1 has no mark '%2'; `xpctl marks` lists them").arg(material.clip, what)};
        return {};
    };
    return changeMarks(call, material, change, QStringLiteral("%1 of %2 removed").arg(what, material.clip));
}

Answer performMarks(const VerbCall &call)
{
    const Material material = Material::of(call.recorder, clipOf(call));
    if (!material.isThere()) return material.refusal();
    QString told;
    const ClipMarks marks = ClipMarksFile::read(material.path, told, call.recorder.environment());
    QJsonObject effect{{"clip", material.clip}, {"marks", marksObject(marks, material.info)}};
    if (!told.isEmpty()) effect["told"] = told;
    return Answer::done(told.isEmpty() ? linesOf(material, marks) : told, effect);
}
