// SPDX-License-Identifier: GPL-3.0-or-later
// profile: named sets of settings, kept in the store and applied to any number of recorders.
#include "companions/ctl/settingvalues.h"

#include "platform/qmx/core/qmxchannel.h"
#include "platform/qmx/core/qmxplaces.h"
#include "platform/store/eparamcontrol.h"

#include <QJsonDocument>

namespace {
constexpr qsizetype mostProfiles = 64;
constexpr qsizetype longestName = 64;
constexpr auto playList = "play_list";

QJsonObject profilesOf(const Recorder &recorder)
{
    return QJsonDocument::fromJson(recorder.text(eParam_SettingsProfiles).toUtf8()).object();
}

/// Those of the one that the machine's settings are kept for, which are there for all of its recorders: so
/// that one set is kept once. None: it is this one.
QJsonObject sharedProfiles(const Recorder &recorder)
{
    const QmxPlaces &places = *recorder.environment().places;
    if (places.channel == 1 && places.recorder.isEmpty()) return {};
    const QmxEnvironment here = QmxEnvironment::current();
    QmxEnvironment ofFirst = QmxChannel::environmentOf(1);
    QmxPlaces own = *ofFirst.places;
    own.recorder.clear();
    ofFirst.places = std::make_shared<const QmxPlaces>(own);
    QmxEnvironment::setCurrent(ofFirst);
    const Recorder first(QStringLiteral("xpctl-profile"));
    QJsonObject shared = first.storeProblem().isEmpty() ? profilesOf(first) : QJsonObject();
    QmxEnvironment::setCurrent(here);
    return shared;
}

/// A profile of this recorder, else a shared one.
std::optional<QJsonArray> find(const Recorder &recorder, const QString &name)
{
    if (const QJsonValue own = profilesOf(recorder).value(name); own.isArray()) return own.toArray();
    const QJsonValue shared = sharedProfiles(recorder).value(name);
    return shared.isArray() ? std::optional(shared.toArray()) : std::nullopt;
}

ExitCode write(Recorder &recorder, const Report &report, const QJsonObject &profiles, const QString &told)
{
    const QByteArray text = QJsonDocument(profiles).toJson(QJsonDocument::Compact);
    if (const QString problem = recorder.write(eParam_SettingsProfiles, QString::fromUtf8(text));
        !problem.isEmpty())
        return report.error(ExitCode::NoStore, problem);
    report.result(told, {{"profiles", QJsonArray::fromStringList(profiles.keys())}});
    return ExitCode::Done;
}

ExitCode list(const Recorder &recorder, const Report &report)
{
    QStringList names = profilesOf(recorder).keys() + sharedProfiles(recorder).keys();
    names.removeDuplicates();
    report.result(names.isEmpty() ? QStringLiteral("no profiles") : names.join('\n'),
                  {{"profiles", QJsonArray::fromStringList(names)}});
    return ExitCode::Done;
}

ExitCode save(Recorder &recorder, const Report &report, const QString &name)
{
    QJsonObject profiles = profilesOf(recorder);
    if (profiles.size() >= mostProfiles && !profiles.contains(name))
        return report.error(ExitCode::Refused,
                            QStringLiteral("there are %1 profiles, and no more").arg(mostProfiles),
                            "remove one: xpctl profile remove NAME");
    // (The play list is what is played today, not how the recorder is set.)
    QJsonArray settings;
    for (const auto &one : settingsNow(recorder, true))
        if (one.toObject()["name"].toString() != QLatin1String(playList)) settings.append(one);
    profiles[name] = settings;
    return write(recorder, report, profiles, QStringLiteral("kept as %1").arg(name));
}

ExitCode remove(Recorder &recorder, const Report &report, const QString &name)
{
    QJsonObject profiles = profilesOf(recorder);
    if (!profiles.contains(name))
        return report.error(ExitCode::Refused, QStringLiteral("there is no profile %1").arg(name));
    profiles.remove(name);
    return write(recorder, report, profiles, QStringLiteral("%1 is gone").arg(name));
}
} // namespace

ExitCode ctlProfile(Recorder &recorder, const Report &report, const Arguments &arguments)
{
    const std::string action = arguments.word(0);
    const QString name = QString::fromStdString(arguments.word(1));
    if (action == "list") return list(recorder, report);
    const bool isName = !name.isEmpty() && name.size() <= longestName &&
                        std::all_of(name.begin(), name.end(), [](QChar c) { return c.isPrint(); });
    if (!isName)
        return report.error(ExitCode::Usage, QStringLiteral("'%1' is no name of a profile").arg(name),
                            "up to 64 characters, for example: xpctl profile save match-day");
    if (action == "save") return save(recorder, report, name);
    if (action == "remove") return remove(recorder, report, name);
    const auto kept = find(recorder, name);
    if (!kept)
        return report.error(ExitCode::Refused, QStringLiteral("there is no profile %1").arg(name),
                            "`xpctl profile list` shows those there are");
    SettingValues values;
    if (const QString problem = parseSettings(*kept, name, values); !problem.isEmpty())
        return report.error(ExitCode::Refused, problem, "nothing was changed");
    // What a profile does not hold had its default when it was kept.
    for (const auto &[descriptor, value] : defaultSettings())
        if (descriptor->id() != eParam_PlayList) values.emplace(descriptor, value);
    return action == "diff" ? tellDifference(recorder, report, values)
                            : changeSettings(recorder, report, values, arguments.force);
}
