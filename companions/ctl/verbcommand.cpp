// SPDX-License-Identifier: GPL-3.0-or-later
// Every command that is a verb of the recorder: words of a shell onto a row of the table, its answer onto a
// shell.
#include "companions/ctl/verbcommand.h"

#include "platform/control/transportanswers.h"
#include "platform/control/verbs_take.h"

#include <algorithm>
#include <cstdio>

#include <syslog.h>
#include <unistd.h>

namespace {
ExitCode exitCodeOf(const Answer &answer)
{
    if (answer.isEnded) return ExitCode::Interrupted;
    switch (answer.cause) {
    case Cause::None:
        return ExitCode::Done;
    case Cause::Argument:
        return ExitCode::Usage;
    case Cause::Daemon:
        return ExitCode::NoDaemon;
    case Cause::Store:
        return ExitCode::NoStore;
    case Cause::Interrupted:
        return ExitCode::Interrupted;
    case Cause::Deck:
    case Cause::Owner:
    case Cause::Role:
    case Cause::Busy:
        break;
    }
    return ExitCode::Refused;
}

/// "[=====     ]  52 %"
QString bar(int percent)
{
    constexpr int width = 30;
    const int full = std::clamp(percent, 0, 100) * width / 100;
    return QStringLiteral("[%1] %2 %")
        .arg(QString(full, QChar(u'=')) + QString(width - full, QChar(u' ')))
        .arg(percent, 3);
}

Request requestOf(const VerbRow &verb, const Arguments &arguments)
{
    Request request;
    request.verb = QString::fromLatin1(verb.name);
    request.wait = arguments.wait;
    request.force = arguments.force;
    request.repeatIsDone = false;
    size_t place = 0;
    for (const VerbArgument &argument : verb.arguments) {
        if (argument.isForShellOnly) continue;
        if (argument.isOption) {
            const auto given = arguments.options.find(argument.name);
            if (given != arguments.options.end())
                request.arguments[QLatin1String(argument.name)] = QString::fromStdString(given->second);
            continue;
        }
        const std::string word = arguments.word(place++);
        if (argument.isRequired || !word.empty())
            request.arguments[QLatin1String(argument.name)] = QString::fromStdString(word);
    }
    if (arguments.length.count() > 0)
        request.arguments["for"] = QString::number(arguments.length.count(), 'g', 17);
    if (arguments.untilDone) request.arguments["until_done"] = "1";
    return request;
}
} // namespace

ExitCode tell(const Report &report, const Answer &answer)
{
    if (!answer.isDone()) {
        // What was found is a result for scripts, although it is none that was hoped for.
        if (report.isJson() && !answer.effect.isEmpty()) report.result({}, answer.effect);
        return report.error(exitCodeOf(answer), answer.sentence, answer.advice);
    }
    if (!answer.sentence.isEmpty() || !answer.effect.isEmpty()) report.result(answer.sentence, answer.effect);
    return exitCodeOf(answer);
}

namespace {
/// Waits for the word; done when it has come. Whoever gives none, or goes, wants nothing any more.
ExitCode awaitWord(const VerbRow &verb, Recorder &recorder, const Report &report)
{
    const bool isTake = qstrcmp(verb.name, "record") == 0;
    const Answer ready =
        isTake ? readiness(recorder, Who::atShell()) : Answer::done("ready", {{"ready", true}});
    tell(report, ready);
    std::fflush(stdout);
    if (!ready.isDone()) return exitCodeOf(ready);
    char byte = 0;
    while (::read(STDIN_FILENO, &byte, 1) == 1)
        if (byte == '\n') return ExitCode::Done;
    return ExitCode::Interrupted;
}
} // namespace

ExitCode ctlReady(Recorder &recorder, const Report &report, const Arguments &)
{
    return tell(report, readiness(recorder, Who::atShell()));
}

ExitCode tellStandsStill(const Report &report)
{
    return tell(report, standsStill());
}

ExitCode runVerb(Control &control, const VerbRow &verb, const Report &report, const Arguments &arguments)
{
    control.setLog([](const QString &line) { syslog(LOG_USER | LOG_INFO, "%s", line.toUtf8().constData()); });
    if (arguments.onWord) {
        const ExitCode word = awaitWord(verb, control.recorder(), report);
        if (word != ExitCode::Done) return word;
    }
    Request request = requestOf(verb, arguments);
    request.progress = [&report](int percent, const QString &text) {
        report.line(QStringLiteral("%1  %2").arg(bar(percent), text), {{"percent", percent}});
    };
    return tell(report, control.perform(request, Who::atShell()));
}
