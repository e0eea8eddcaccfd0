// SPDX-License-Identifier: GPL-3.0-or-later
// list: the play list, which is one parameter of the store.
#include "companions/ctl/commands.h"

#include "platform/qmx/core/qmxenvironment.h"
#include "platform/qmx/core/qmxplaces.h"
#include "platform/store/storelock.h"

#include <QFileInfo>
#include <QJsonArray>

#include <algorithm>
#include <cerrno>
#include <optional>

namespace {
/// Held by the one program that changes the list, from reading it to writing it.
constexpr int lockWithin = 5000; // ms

/// A place among `count`; nothing when the text is none.
std::optional<int> placeIn(qsizetype count, const std::string &text)
{
    bool isNumber = false;
    const int place = QString::fromStdString(text).toInt(&isNumber);
    return isNumber && place >= 0 && place < count ? std::optional(place) : std::nullopt;
}

ExitCode noPlace(const Report &report, const std::string &text, qsizetype count)
{
    return report.error(ExitCode::Usage,
                        QStringLiteral("'%1' is no place in the play list").arg(QString::fromStdString(text)),
                        count > 0
                            ? QStringLiteral("places go from 0 to %1; `xpctl list` shows them").arg(count - 1)
                            : QStringLiteral("the list is empty; fill it with: xpctl list add CLIP"));
}

void show(const Recorder &recorder, const Report &report, const QStringList &names)
{
    const QString folder = recorder.text(eParam_ActiveMediaPath);
    QJsonArray entries;
    QString text;
    for (qsizetype i = 0; i < names.size(); ++i) {
        const bool isThere = !folder.isEmpty() && QFileInfo(folder + "/" + names[i]).isFile();
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

ExitCode ctlList(Recorder &recorder, const Report &report, const Arguments &arguments)
{
    const std::string action = arguments.word(0).empty() ? "show" : arguments.word(0);
    const std::string entry = arguments.word(1);
    const std::string where = arguments.word(2);
    QStringList names = recorder.text(eParam_PlayList).split('\n', Qt::SkipEmptyParts);
    if (action == "show") {
        show(recorder, report, names);
        return ExitCode::Done;
    }
    StoreLock lock(QmxEnvironment::current().places->playListLock.toStdString());
    if (!lock.acquire(lockWithin, nullptr) && lock.error() == EWOULDBLOCK)
        return report.error(ExitCode::Refused, "another program is changing the play list", "try again");
    names = recorder.text(eParam_PlayList).split('\n', Qt::SkipEmptyParts);
    if (action == "add") {
        if (entry.empty()) return report.error(ExitCode::Usage, "ENTRY is required", "xpctl list add CLIP");
        const QString name = QString::fromStdString(entry);
        if (!recorder.isClip(name)) {
            return report.error(ExitCode::Refused, recorder.whyNoClip(name),
                                "`xpctl clips` lists those there are");
        }
        const auto place =
            where.empty() ? std::optional(int(names.size())) : placeIn(names.size() + 1, where);
        if (!place) return noPlace(report, where, names.size() + 1);
        names.insert(*place, name);
    } else if (action == "move" || action == "remove") {
        const auto from = placeIn(names.size(), entry);
        if (!from) return noPlace(report, entry, names.size());
        const auto to = action == "move" ? placeIn(names.size(), where) : from;
        if (!to) return noPlace(report, where, names.size());
        if (action == "move") {
            names.move(*from, *to);
        } else {
            names.removeAt(*from);
        }
    } else {
        return report.error(
            ExitCode::Usage,
            QStringLiteral("'%1' cannot be done with a list").arg(QString::fromStdString(action)),
            "show, add CLIP [PLACE], move PLACE PLACE, or remove PLACE");
    }
    QString reason = recorder.write(eParam_PlayList, names.join('\n'));
    if (reason.isEmpty()) reason = recorder.write(eParam_PlayListChanged, 1U);
    if (!reason.isEmpty()) {
        return report.error(ExitCode::NoStore, reason);
    }
    show(recorder, report, names);
    return ExitCode::Done;
}
