// SPDX-License-Identifier: GPL-3.0-or-later
// Takes to come: the list, and the words of a shell that change it.
#include "companions/ctl/commands.h"

#include "platform/product/recordschedule.h"
#include "platform/qmx/core/qmxtakemoment.h"

#include <cstring>

const VerbRow *scheduleVerb(const CommandRow &row, Arguments &arguments)
{
    const bool isRecord = row.verb && std::strcmp(row.verb->name, "record") == 0;
    if (isRecord && !(arguments.at.empty() && arguments.until.empty())) {
        arguments.words = {arguments.at, arguments.until};
        return findVerb(QStringLiteral("schedule"));
    }
    if (row.run != ctlSchedule || arguments.word(0) != "cancel") return nullptr;
    arguments.words = {arguments.word(1)};
    return findVerb(QStringLiteral("unschedule"));
}

ExitCode ctlSchedule(Recorder &recorder, const Report &report, const Arguments &)
{
    const RecordSchedule schedule = RecordSchedule::parse(recorder.text(eParam_RecordSchedule).toStdString());
    for (const ScheduledTake &take : schedule.takes) {
        QString text = QString::fromStdString(take.describe());
        if (take.begun) text += QStringLiteral(", is being recorded");
        report.line(text, {{"take", qint64(take.number)},
                           {"start", QmxTakeMoment::toText(take.start)},
                           {"start_timecode", QString::fromStdString(take.startTimecode)},
                           {"end", take.end == 0 ? QString() : QmxTakeMoment::toText(take.end)},
                           {"end_timecode", QString::fromStdString(take.endTimecode)},
                           {"runs", take.begun}});
    }
    if (schedule.takes.empty())
        report.note("no take is planned; plan one with: xpctl record --at 10:00:00 --until 10:30:00");
    return ExitCode::Done;
}
