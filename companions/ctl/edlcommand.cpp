// SPDX-License-Identifier: GPL-3.0-or-later
// edl: marks and the play list out of and into an edit decision list.
#include "companions/ctl/commands.h"

#include "platform/control/edlof.h"
#include "platform/control/playlist.h"
#include "platform/qmx/core/qmxcounted.h"
#include "platform/store/eparamreplay.h"

#include <QFile>

namespace {
/// More than the longest list needs.
constexpr qint64 largestFile = 8 * 1024 * 1024;

ExitCode save(Recorder &recorder, const Report &report, const QString &file, const QString &clip)
{
    QString why;
    std::optional<QString> text;
    if (clip.isEmpty()) {
        text = EdlOf::list(recorder, recorder.text(eParam_PlayList).split('\n', Qt::SkipEmptyParts), why);
    } else {
        const Material material = Material::of(recorder, clip);
        if (!material.isThere()) return report.error(ExitCode::Refused, material.why);
        const ClipMarks marks = ClipMarksFile::read(material.path, why, recorder.environment());
        if (why.isEmpty()) text = EdlOf::marks(material, marks, why);
    }
    if (!text) return report.error(ExitCode::Refused, why);
    QFile out(file);
    // What is there may be somebody's work.
    if (!out.open(QIODevice::WriteOnly | QIODevice::NewOnly) || out.write(text->toUtf8()) < 0 || !out.flush())
        return report.error(ExitCode::Refused,
                            QStringLiteral("%1 cannot be written: %2").arg(file, out.errorString()),
                            "choose another name; a file that exists is kept");
    report.result(QStringLiteral("%1 written").arg(file), {{"file", file}});
    return ExitCode::Done;
}

ExitCode load(Recorder &recorder, const Report &report, const QString &file, const QString &clip)
{
    QFile in(file);
    if (!in.open(QIODevice::ReadOnly))
        return report.error(ExitCode::Refused,
                            QStringLiteral("%1 cannot be read: %2").arg(file, in.errorString()));
    if (in.size() > largestFile)
        return report.error(ExitCode::Refused, QStringLiteral("%1 is too large").arg(file));
    const QString text = QString::fromUtf8(in.readAll());
    QString why;
    if (clip.isEmpty()) {
        const auto entries = EdlOf::listFrom(text, recorder, why);
        if (!entries) return report.error(ExitCode::Refused, file + ": " + why);
        const Answer answer = PlayList::write(recorder, *entries, {});
        if (!answer.isDone()) return report.error(ExitCode::Refused, answer.sentence, answer.advice);
        report.result("the play list has " + qmxCounted(entries->size(), "entry", "entries"),
                      {{"entries", int(entries->size())}});
        return ExitCode::Done;
    }
    const Material material = Material::of(recorder, clip);
    if (!material.isThere()) return report.error(ExitCode::Refused, material.why);
    const auto marks = EdlOf::marksFrom(text, material, why);
    if (!marks) return report.error(ExitCode::Refused, file + ": " + why);
    QString told;
    const QmxError error = ClipMarksFile::change(
        material.path,
        [&marks](ClipMarks &now) -> QmxError {
            now = *marks;
            return {};
        },
        told, markingEnvironment(recorder));
    if (error.isError()) return report.error(ExitCode::Refused, error.toString());
    recorder.write(eParam_MarksChanged, material.clip);
    report.result(QStringLiteral("%1 has the marks of %2").arg(material.clip, file),
                  {{"clip", material.clip}, {"marks", marksObject(*marks, material.info)}});
    return ExitCode::Done;
}
} // namespace

ExitCode ctlEdl(Recorder &recorder, const Report &report, const Arguments &arguments)
{
    const QString file = QString::fromStdString(arguments.word(1));
    const QString clip = QString::fromStdString(arguments.word(2));
    return arguments.word(0) == "save" ? save(recorder, report, file, clip)
                                       : load(recorder, report, file, clip);
}
