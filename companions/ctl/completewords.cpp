// SPDX-License-Identifier: GPL-3.0-or-later
// Words that only a running recorder knows, for shells: one a line. A line "@files" stands for names of
// files.
#include "companions/ctl/commands.h"
#include "companions/ctl/settingvalues.h"

#include "platform/control/marksof.h"
#include "platform/control/playlist.h"
#include "platform/product/clipfinder.h"
#include "platform/product/mediaorder.h"
#include "platform/product/recordschedule.h"
#include "platform/qmx/core/qmxchannel.h"
#include "platform/store/eparamcontrol.h"
#include "platform/store/paramrow.h"

#include <QJsonDocument>

#include <cstdio>

namespace {
const QStringList filesOfTheShell{"@files"};

QStringList clips(Recorder &recorder, const std::string &)
{
    ClipFinder finder(&recorder.config());
    QStringList names;
    for (const Clip &clip : finder.findClips(true, false, true))
        names << QString::fromStdString(clip.getName());
    return names;
}

QStringList media(Recorder &recorder, const std::string &)
{
    QStringList paths;
    for (const MediumReport &medium : MediumReport::parse(recorder.text(eParam_MediaReport).toStdString()))
        paths << QString::fromStdString(medium.path);
    return paths;
}

QStringList parameters(Recorder &, const std::string &)
{
    QStringList names;
    for (const ParamDescriptor *descriptor : AllDescriptors())
        if (!descriptor->isAlarm()) names << QString::fromStdString(descriptor->name());
    return names;
}

QStringList settable(Recorder &, const std::string &)
{
    QStringList names;
    for (const ParamDescriptor *descriptor : AllDescriptors())
        if (!descriptor->isAlarm() && !descriptor->isTold())
            names << QString::fromStdString(descriptor->name());
    return names;
}

/// What a parameter may be set to, as far as its row says so.
QStringList values(Recorder &recorder, const std::string &name)
{
    const ParamDescriptor *descriptor = FindDescriptor(name);
    if (!descriptor) return {};
    if (descriptor->id() == eParam_LutFile) return filesOfTheShell;
    if (descriptor->hasAttribute(Attribute::folder)) return media(recorder, {});
    if (descriptor->hasAttribute(Attribute::clipName)) return clips(recorder, {});
    QStringList labels;
    for (const auto &[value, label] : descriptor->values())
        labels << QString::fromStdString(label);
    return labels;
}

QStringList alarms(Recorder &recorder, const std::string &)
{
    QStringList names;
    for (const Recorder::Alarm &alarm : recorder.alarms())
        names << alarm.name;
    return names;
}

QStringList marks(Recorder &recorder, const std::string &)
{
    const Material material = Material::of(recorder, recorder.clip());
    QString told;
    QStringList names;
    if (material.isThere())
        for (const ClipMarks::Point &point :
             ClipMarksFile::read(material.path, told, recorder.environment()).points)
            names << point.name;
    return names;
}

/// Behind the action of `list`.
QStringList entries(Recorder &recorder, const std::string &action)
{
    if (action == "add") return clips(recorder, {});
    QStringList places;
    if (action == "move" || action == "remove")
        for (qsizetype i = 0; i < PlayList::read(recorder).entries().size(); ++i)
            places << QString::number(i);
    return places;
}

/// Behind the action of `settings`.
QStringList settings(Recorder &, const std::string &action)
{
    if (action != "reset") return filesOfTheShell;
    QStringList names;
    for (const ParamDescriptor *descriptor : AllDescriptors())
        if (isSetting(*descriptor)) names << QString::fromStdString(descriptor->name());
    return names;
}

QStringList profiles(Recorder &recorder, const std::string &)
{
    return QJsonDocument::fromJson(recorder.text(eParam_SettingsProfiles).toUtf8()).object().keys();
}

QStringList takes(Recorder &recorder, const std::string &)
{
    QStringList numbers;
    const RecordSchedule schedule = RecordSchedule::parse(recorder.text(eParam_RecordSchedule).toStdString());
    for (const ScheduledTake &take : schedule.takes)
        numbers << QString::number(take.number);
    return numbers;
}

QStringList channels(Recorder &, const std::string &)
{
    QStringList numbers;
    for (const int channel : QmxChannel::all())
        numbers << QString::number(channel);
    return numbers;
}

QStringList commands(Recorder &, const std::string &)
{
    QStringList names;
    for (const CommandRow &row : ctlCommands())
        if (row.isListed()) names << QString::fromLatin1(row.name);
    return names;
}

struct KindRow
{
    const char *name; ///< without the @ that it has in the table of commands
    QStringList (*words)(Recorder &recorder, const std::string &first);
};
constexpr KindRow kinds[] = {
    {"clips", clips},       {"media", media},       {"parameters", parameters}, {"settable", settable},
    {"values", values},     {"alarms", alarms},     {"marks", marks},           {"entries", entries},
    {"settings", settings}, {"profiles", profiles}, {"takes", takes},           {"channels", channels},
    {"commands", commands},
};
} // namespace

bool isCompletionKind(const std::string &name)
{
    return name == "files" || std::any_of(std::begin(kinds), std::end(kinds),
                                          [&](const KindRow &row) { return row.name == name; });
}

ExitCode ctlComplete(Recorder &recorder, const Report &, const Arguments &arguments)
{
    for (const KindRow &row : kinds)
        if (arguments.word(0) == row.name)
            for (const QString &word : row.words(recorder, arguments.word(1)))
                std::puts(word.toLocal8Bit().constData());
    return ExitCode::Done;
}
