// SPDX-License-Identifier: GPL-3.0-or-later
// The manual page, from the tables of commands, options, exit codes, inputs and outputs.
#include "companions/ctl/commands.h"
#include "platform/qmx/edges/qmxsink.h"
#include "platform/qmx/edges/qmxsource.h"

#include <cstdio>

namespace {
/// Text as roff wants it: no escapes, no line that begins like a request.
QString roff(const QString &text)
{
    QString safe = text;
    safe.replace('\\', "\\e").replace('-', "\\-").replace('`', "\\(ga");
    return safe.startsWith('.') || safe.startsWith('\'') ? "\\&" + safe : safe;
}

QString synopsis(const CommandRow &row)
{
    QString text = QStringLiteral("\\fB%1\\fR").arg(roff(row.name));
    for (const ArgumentRow &argument : row.arguments)
        text += QString(argument.required ? " \\fI%1\\fR%2" : " [\\fI%1\\fR%2]")
                    .arg(roff(argument.name), argument.isMany ? " ..." : "");
    for (const OptionRow &option : ctlOptions()) {
        if (!row.takes(option)) continue;
        text += QStringLiteral(" [\\fB\\-\\-%1\\fR%2]")
                    .arg(roff(option.name),
                         *option.value ? QStringLiteral(" \\fI%1\\fR").arg(option.value) : QString());
    }
    return text;
}

/// How an input or output is written, a row a kind.
template <typename Row>
QString kinds(std::span<const Row> rows)
{
    QString text;
    for (const Row &row : rows)
        text += QStringLiteral(".TP\n\\fB%1\\fR\n%2\n")
                    .arg(row.scheme[0] ? roff(row.scheme) : QStringLiteral("address"),
                         roff(QString::fromUtf8(row.help)));
    return text;
}

constexpr auto head = R"roff(.TH XPCTL 1 "" "xp recorder" "User Commands"
.SH NAME
xpctl \- operate the recorder
.SH SYNOPSIS
.B xpctl
.RB [ \-\-json ]
.I COMMAND
.RI [ ARGUMENT \ ...]
.SH DESCRIPTION
Commands the transport daemon and shows what it does. A command returns when its effect has come: a take
when its clip is open, a cue when the frame is on the output. What cannot be done is refused with a reason
and what to do about it.
.SH COMMANDS
)roff";

constexpr auto tail = R"roff(.SH FILES
.TP
.I /etc/xp/store
address of the configuration store; without it, sqlite:/var/lib/xp/store.db
.TP
.I /etc/xp/lumen.ini
inputs and outputs
.SH ENVIRONMENT
.TP
.B NO_COLOR
no colours on a terminal
.SH EXAMPLES
.EX
xpctl record \-\-for 10
xpctl play 0.5
xpctl cue 10:00:04:00
xpctl \-\-json status
.EE
)roff";
} // namespace

ExitCode ctlNothing(const Report &, const Arguments &)
{
    return ExitCode::Done; // the parser answers it
}

ExitCode ctlManual(const Report &, const Arguments &)
{
    QString page = QString::fromLatin1(head);
    QString group;
    for (const CommandRow &row : ctlCommands()) {
        if (!row.isListed()) continue;
        if (group != QLatin1String(row.group)) page += QStringLiteral(".SS %1\n").arg(row.group);
        group = QLatin1String(row.group);
        page += ".TP\n" + synopsis(row) + "\n" + roff(QString::fromUtf8(row.help)) + "\n";
        for (const ArgumentRow &argument : row.arguments)
            page += QStringLiteral(".br\n\\fI%1\\fR: %2\n").arg(roff(argument.name), roff(argument.help));
    }
    page += ".SH OPTIONS\n.TP\n\\fB\\-\\-json\\fR\nresults as one JSON object a line, errors too\n";
    for (const OptionRow &option : ctlOptions()) {
        page += QStringLiteral(".TP\n\\fB\\-\\-%1\\fR%2\n%3\n")
                    .arg(roff(option.name),
                         *option.value ? QStringLiteral(" \\fI%1\\fR").arg(option.value) : QString(),
                         roff(option.help));
    }
    page += ".SH EXIT STATUS\n";
    for (const ExitCodeRow &row : exitCodes())
        page += QStringLiteral(".TP\n%1\n%2\n").arg(int(row.code)).arg(roff(row.meaning));
    page += ".SH INPUTS\nBehind NUMBER= in the section [inputs] of the profile:\n" + kinds(qmxSources());
    page += ".SH OUTPUTS\nBehind NAME= in the section [outputs] of the profile:\n" + kinds(qmxSinks());
    page += QString::fromLatin1(tail);
    std::fputs(page.toUtf8().constData(), stdout);
    return ExitCode::Done;
}
