// SPDX-License-Identifier: GPL-3.0-or-later
#include "companions/ctl/commands.h"

#include "companions/ctl/parametermarkdown.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <memory>

std::span<const CommandRow> ctlCommands()
{
    static const std::vector<CommandRow> rows = {
        {"status", "show what the recorder is doing", {}, "", false, ctlStatus},
        {"watch", "show it continuously, a line a frame", {}, "once", false, ctlWatch},
        {"record", "start a take; returns when its clip is open", {}, "for", true, ctlRecord},
        {"play",
         "play the current material",
         {{"SPEED", "1 is normal, negative is reverse, 0 is still; from -100 to 100", false}},
         "wait",
         true,
         ctlPlay},
        {"still", "hold the picture", {}, "", true, ctlStill},
        {"stop", "end a take, or playback", {}, "", true, ctlStop},
        {"step",
         "go N frames on, or back",
         {{"N", "number of frames; negative: back", true}},
         "",
         true,
         ctlStep},
        {"cue",
         "show one frame",
         {{"WHERE", "frame number, or a timecode such as 10:00:04:00", true}},
         "",
         true,
         ctlCue},
        {"next", "go to the next clip", {}, "", true, ctlNext},
        {"prev", "go to the start of the clip, or to the clip before", {}, "", true, ctlPrevious},
        {"clip",
         "make a clip the current one",
         {{"NAME", "as `xpctl clips` shows it", true}},
         "",
         true,
         ctlClip},
        {"clips", "list the clips of the active medium", {}, "", false, ctlClips},
        {"alarms", "list what is wrong now", {}, "", false, ctlAlarms},
        {"get", "show a parameter", {{"NAME", "as `xpctl params` shows it", true}}, "", false, ctlGet},
        {"set",
         "change a parameter",
         {{"NAME", "as `xpctl params` shows it", true}, {"VALUE", "a label, number or text", true}},
         "",
         false,
         ctlSet},
        {"params",
         "list parameters with value, choices and help",
         {{"WORD", "only those whose name holds it", false}},
         "markdown",
         false,
         ctlParams},
        {"shut-down", "end the daemon; a take that is running is closed", {}, "", true, ctlShutDown},
    };
    return rows;
}

namespace {
bool takes(const CommandRow &row, const char *option)
{
    return (" " + std::string(row.options) + " ").find(" " + std::string(option) + " ") != std::string::npos;
}

/// Empty, or why a text is no length of a take.
std::string takeLength(const std::string &text)
{
    constexpr double week = 7 * 24 * 3600;
    bool isNumber = false;
    const double seconds = QString::fromStdString(text).toDouble(&isNumber);
    return isNumber && seconds > 0 && seconds <= week
               ? std::string()
               : "'" + text + "' is no length of a take; give seconds, at most a week";
}

ExitCode runCommand(const CommandRow &row, const Report &report, const Arguments &arguments)
{
    if (arguments.markdown) { // says the same on every machine: no recorder is needed
        report.result(parametersAsMarkdown(), {{"markdown", parametersAsMarkdown()}});
        return ExitCode::Done;
    }
    Recorder recorder;
    if (const QString problem = recorder.storeProblem(); !problem.isEmpty()) {
        return report.error(ExitCode::NoStore, problem);
    }
    if (row.needsDaemon && !recorder.daemonIsRunning()) {
        return report.error(ExitCode::NoDaemon, "the daemon is not running, so nothing can be done",
                            "start it with: systemctl start xpd (in a checkout: ./xp run)");
    }
    Recorder::catchInterrupt();
    return row.run(recorder, report, arguments);
}
} // namespace

int runCommandLine(int argc, char **argv)
{
    CLI::App app("xpctl: the recorder's command line", "xpctl");
    bool json = false;
    auto arguments = std::make_shared<Arguments>();
    bool noWait = false;
    app.add_flag("--json", json, "results as one JSON object a line");
    app.require_subcommand(1);
    app.fallthrough();
    // A negative number is an argument, not an option.
    app.allow_windows_style_options(false);

    // The parser keeps references to the words: their place must not move.
    constexpr size_t mostArguments = 2;
    arguments->words.resize(mostArguments);
    const CommandRow *chosen = nullptr;
    for (const CommandRow &row : ctlCommands()) {
        CLI::App *command = app.add_subcommand(row.name, row.help);
        command->callback([&chosen, &row] { chosen = &row; });
        for (size_t i = 0; i < row.arguments.size(); ++i) {
            command->add_option(row.arguments[i].name, arguments->words[i], row.arguments[i].help)
                ->required(row.arguments[i].required);
        }
        command->add_flag("--no-wait", noWait, "do not wait for the effect");
        if (takes(row, "for")) {
            command->add_option("--for", arguments->seconds, "end after this many seconds of recorded time")
                ->check(takeLength);
        }
        if (takes(row, "wait")) {
            command->add_flag("--wait", arguments->untilDone, "return when the end has been reached");
        }
        if (takes(row, "once")) {
            command->add_flag("--once", arguments->once, "one line, then end");
        }
        if (takes(row, "markdown")) {
            command->add_flag("--markdown", arguments->markdown, "the reference of all parameters");
        }
    }
    try { // the parser reports by exception; it ends here
        app.parse(argc, argv);
    } catch (const CLI::ParseError &error) {
        constexpr int helpWanted = 0;
        if (error.get_exit_code() == helpWanted) {
            app.exit(error);
            return int(ExitCode::Done);
        }
        // What stands behind the mistake has not been parsed.
        const bool wantsJson =
            std::any_of(argv, argv + argc, [](const char *word) { return std::string(word) == "--json"; });
        return int(Report(wantsJson).error(ExitCode::Usage, QString::fromLocal8Bit(error.what()),
                                           "`xpctl --help` lists the commands, `xpctl COMMAND --help` shows "
                                           "how one is used"));
    }
    arguments->wait = !noWait;
    return int(runCommand(*chosen, Report(json), *arguments));
}
