// SPDX-License-Identifier: GPL-3.0-or-later
// list: the play list, which is one parameter of the store.
#include "companions/ctl/commands.h"

#include "platform/control/playlist.h"
#include "platform/qmx/clip/qmxclippart.h"
#include "platform/qmx/core/qmxenvironment.h"
#include "platform/qmx/core/qmxplaces.h"
#include "platform/store/storelock.h"

#include <QFileInfo>
#include <QJsonArray>

#include <algorithm>
#include <cerrno>
#include <functional>
#include <optional>
#include <set>

namespace {
/// Held by the one program that changes the list, from reading it to writing it.
constexpr std::chrono::seconds lockWithin(5);

/// A place among `count`; nothing when the text is none.
std::optional<int> placeIn(qsizetype count, const std::string &text)
{
    bool isNumber = false;
    const int place = QString::fromStdString(text).toInt(&isNumber);
    return isNumber && place >= 0 && place < count ? std::optional(place) : std::nullopt;
}

void show(const Recorder &recorder, const Report &report, const QStringList &names)
{
    const QString folder = recorder.text(eParam_ActiveMediaPath);
    QJsonArray entries;
    QString text;
    for (qsizetype i = 0; i < names.size(); ++i) {
        const auto part = QmxClipPart::fromText(names[i]);
        const bool isThere =
            part && !folder.isEmpty() && QFileInfo(recorder.here(folder + "/" + part->clip)).isFile();
        entries.append(QJsonObject{{"place", int(i)}, {"name", names[i]}, {"present", isThere}});
        text += QStringLiteral("%1  %2%3\n")
                    .arg(i, 4)
                    .arg(names[i], isThere ? QString()
                                           : Report::painted("  (not on this medium: passed over)",
                                                             Report::Colour::Notice));
    }
    report.result(names.isEmpty() ? QStringLiteral("the play list is empty") : text, {{"list", entries}});
}
} // namespace

namespace {
/// What is to become of the list, or why nothing is.
struct Change
{
    QStringList names;
    ExitCode code = ExitCode::Done;
    QString wrong{};
    QString advice{};
};

Change noPlace(const std::string &text, qsizetype count)
{
    return {{},
            ExitCode::Usage,
            QStringLiteral("'%1' is no place in the play list").arg(QString::fromStdString(text)),
            count > 0 ? QStringLiteral("places go from 0 to %1; `xpctl list` shows them").arg(count - 1)
                      : QStringLiteral("the list is empty; fill it with: xpctl list add CLIP")};
}

Change add(const Recorder &recorder, QStringList names, std::vector<std::string> entries)
{
    if (entries.empty()) return {{}, ExitCode::Usage, "ENTRY is required", "xpctl list add CLIP ..."};
    // A number behind the clips is a place, if no clip is called like that.
    std::optional<int> place = int(names.size());
    const std::string last = entries.back();
    bool isNumber = false;
    QString::fromStdString(last).toInt(&isNumber);
    if (entries.size() > 1 && isNumber && !recorder.isClip(QString::fromStdString(last))) {
        place = placeIn(names.size() + 1, last);
        if (!place) return noPlace(last, names.size() + 1);
        entries.pop_back();
    }
    for (const std::string &entry : entries) {
        QString why;
        const auto kept = PlayList::entryFor(recorder, QString::fromStdString(entry), why);
        if (!kept)
            return {
                {}, ExitCode::Refused, why, "`xpctl clips` lists those there are; a part is CLIP[FROM-TO)"};
        names.insert((*place)++, *kept);
    }
    return {names};
}

Change move(QStringList names, const std::vector<std::string> &places)
{
    if (places.size() != 2)
        return {{}, ExitCode::Usage, "two places are required", "xpctl list move FROM TO"};
    const auto from = placeIn(names.size(), places[0]);
    if (!from) return noPlace(places[0], names.size());
    const auto to = placeIn(names.size(), places[1]);
    if (!to) return noPlace(places[1], names.size());
    names.move(*from, *to);
    return {names};
}

Change remove(QStringList names, const std::vector<std::string> &places)
{
    if (places.empty()) return {{}, ExitCode::Usage, "a place is required", "xpctl list remove PLACE ..."};
    // From behind, so that the places before stay what they were.
    std::set<int, std::greater<>> chosen;
    for (const std::string &text : places) {
        const auto place = placeIn(names.size(), text);
        if (!place) return noPlace(text, names.size());
        chosen.insert(*place);
    }
    for (const int place : chosen)
        names.removeAt(place);
    return {names};
}
} // namespace

ExitCode ctlList(Recorder &recorder, const Report &report, const Arguments &arguments)
{
    const std::string action = arguments.word(0).empty() ? "show" : arguments.word(0);
    const std::vector<std::string> entries(arguments.words.begin() + (arguments.words.empty() ? 0 : 1),
                                           arguments.words.end());
    const auto now = [&recorder] { return recorder.text(eParam_PlayList).split('\n', Qt::SkipEmptyParts); };
    if (action == "show") {
        show(recorder, report, now());
        return ExitCode::Done;
    }
    StoreLock lock(QmxEnvironment::current().places->playListLock.toStdString());
    if (!lock.acquire(lockWithin, nullptr) && lock.error() == EWOULDBLOCK)
        return report.error(ExitCode::Refused, "another program is changing the play list", "try again");
    Change change{now()};
    if (action == "add")
        change = add(recorder, change.names, entries);
    else if (action == "move")
        change = move(change.names, entries);
    else if (action == "remove")
        change = remove(change.names, entries);
    else
        change.names.clear();
    if (change.code != ExitCode::Done) return report.error(change.code, change.wrong, change.advice);
    QString reason = recorder.write(eParam_PlayList, change.names.join('\n'));
    if (reason.isEmpty()) reason = recorder.write(eParam_PlayListChanged, 1U);
    if (!reason.isEmpty()) return report.error(ExitCode::NoStore, reason);
    show(recorder, report, change.names);
    return ExitCode::Done;
}
