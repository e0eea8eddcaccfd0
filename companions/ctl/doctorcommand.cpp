// SPDX-License-Identifier: GPL-3.0-or-later
// doctor: every check of the table, and what to do about what is wrong.
#include "companions/ctl/commands.h"
#include "companions/ctl/doctor.h"

#include <QJsonArray>

ExitCode ctlDoctor(const Report &report, const Arguments &)
{
    struct Word
    {
        const char *name;
        Report::Colour colour;
    };
    static constexpr Word states[] = {
        {"good", Report::Colour::Good}, {"hint", Report::Colour::Notice}, {"wrong", Report::Colour::Bad}};
    Recorder recorder("xpctl");
    QJsonArray checks;
    QString text;
    bool allWell = true;
    const bool isReadable = recorder.storeProblem().isEmpty();
    for (const DoctorCheck &check : doctorChecks()) {
        // Without a store there is nothing that the others could ask.
        const bool isUnknown = !recorder.hasStore() && &check != doctorChecks().data();
        const bool isUnseen = check.needsStore && !isReadable;
        const Finding finding = isUnknown ? Finding{Finding::Hint, "not looked at: there is no store", {}}
                                : isUnseen
                                    ? Finding{Finding::Hint, "not looked at: the store cannot be read", {}}
                                    : check.look(recorder);
        allWell = allWell && finding.state != Finding::Wrong;
        checks.append(QJsonObject{{"name", check.name},
                                  {"state", states[finding.state].name},
                                  {"found", finding.found},
                                  {"advice", finding.advice}});
        text += Report::painted(QStringLiteral("%1").arg(states[finding.state].name, -6),
                                states[finding.state].colour) +
                QStringLiteral("%1 %2\n").arg(check.name, -14).arg(finding.found);
        if (!finding.advice.isEmpty()) text += QStringLiteral("%1 -> %2\n").arg("", 20).arg(finding.advice);
    }
    report.result(text, {{"well", allWell}, {"checks", checks}});
    return allWell ? ExitCode::Done : ExitCode::Refused;
}
