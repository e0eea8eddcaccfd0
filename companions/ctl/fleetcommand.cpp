// SPDX-License-Identifier: GPL-3.0-or-later
// fleet: the recorders that keep their settings on the same server.
#include "companions/ctl/commands.h"

#include "platform/qmx/core/qmxenvironment.h"
#include "platform/qmx/core/qmxplaces.h"
#include "platform/store/redisbackend.h"
#include "platform/store/redisfleet.h"

#include <QJsonArray>

namespace {
ExitCode list(RedisFleet &fleet, const Report &report, const std::string &own)
{
    std::vector<RedisFleet::Member> members;
    if (const StoreResult result = fleet.list(members); !result.isDone())
        return report.error(ExitCode::NoStore, QString::fromStdString(result.text));
    QJsonArray recorders;
    QString text;
    for (const RedisFleet::Member &member : members) {
        const QString name = QString::fromStdString(member.name);
        const QString machine = QString::fromStdString(member.machine);
        const QString address = QString::fromStdString(member.address);
        recorders.append(QJsonObject{
            {"name", name}, {"machine", machine}, {"address", address}, {"is_this_one", member.name == own}});
        text += QStringLiteral("%1%2  %3\n")
                    .arg(member.name == own ? "* " : "  ")
                    .arg(name, -24)
                    .arg(machine.isEmpty() ? QStringLiteral("not in use") : machine + " at " + address);
    }
    report.result(text.isEmpty() ? QStringLiteral("no recorders") : text, {{"recorders", recorders}});
    return ExitCode::Done;
}
} // namespace

ExitCode ctlFleet(const Report &report, const Arguments &arguments)
{
    const auto address = redisAddressOfStore();
    if (!address)
        return report.error(ExitCode::Refused,
                            "this recorder keeps its settings on its own disk, not on a server",
                            "write the address of one into /etc/xp/store, for example redis://HOST/NAME");
    RedisFleet fleet(*address, RedisBackend::standardPasswordFile());
    const std::string action = arguments.word(0);
    const std::string name = arguments.word(1);
    const std::string other = arguments.word(2);
    if (action == "list") return list(fleet, report, address->recorder);
    const auto isName = [](const std::string &text) {
        return RedisAddress::parse("//host/" + text).has_value();
    };
    if (!isName(name) || (action == "rename" && !isName(other)))
        return report.error(ExitCode::Usage, "this is no name of a recorder",
                            "letters, digits and signs but no blanks, slashes or braces");
    const StoreResult result = action == "rename" ? fleet.rename(name, other) : fleet.remove(name);
    if (!result.isDone())
        return report.error(result.code == StoreResult::ReadOnly ? ExitCode::Refused : ExitCode::NoStore,
                            QString::fromStdString(result.text));
    const QString told = QString::fromStdString(name);
    report.result(action == "remove" ? told + " is forgotten"
                                     : QStringLiteral("%1 is %2 now; write that into its /etc/xp/store")
                                           .arg(told, QString::fromStdString(other)),
                  {{"name", action == "remove" ? QString() : QString::fromStdString(other)}});
    return ExitCode::Done;
}
