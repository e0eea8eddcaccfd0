// SPDX-License-Identifier: GPL-3.0-or-later
// Other channels and machines.
#include "companions/panel/panel.h"

#include <QJsonArray>

void getFleetSelf(Panel &, const HttpCall &, Respond respond)
{
    respond(jsonReply(Fleet::self()));
}

void getFleet(Panel &panel, const HttpCall &, Respond respond)
{
    QJsonObject object = Fleet::self();
    QJsonArray machines;
    for (const FleetMachine &machine : panel.fleet.machines())
        machines.append(QJsonObject{{"name", machine.name},
                                    {"address", QStringLiteral("%1:%2").arg(machine.host).arg(machine.port)},
                                    {"from", machine.from},
                                    {"state", machine.state},
                                    {"problem", machine.problem},
                                    {"tls", machine.isTls},
                                    {"version", machine.version},
                                    {"channels", machine.self["channels"].toArray()}});
    object["machines"] = machines;
    respond(jsonReply(object));
}
