// SPDX-License-Identifier: GPL-3.0-or-later
#include "companions/ctl/commands.h"

#include "companions/ctl/parametermarkdown.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <memory>

std::span<const CommandRow> ctlCommands()
{
    static const std::vector<CommandRow> rows = {
        {"status", "show what the recorder is doing", {}, "", Needs::Store, ctlStatus},
        {"watch", "show it continuously, a line a frame", {}, "once stats", Needs::Store, ctlWatch},
        {"record",
         "start a take; returns when its clip is open",
         {},
         "for no-wait",
         Needs::Daemon,
         ctlRecord},
        {"play",
         "play the current material",
         {{"SPEED", "1 is normal, negative is reverse, 0 is still; from -100 to 100", false}},
         "wait no-wait",
         Needs::Daemon,
         ctlPlay},
        {"still", "hold the picture", {}, "no-wait", Needs::Daemon, ctlStill},
        {"stop", "end a take, or playback", {}, "no-wait", Needs::Daemon, ctlStop},
        {"step",
         "go N frames on, or back",
         {{"N", "number of frames; negative: back", true}},
         "no-wait",
         Needs::Daemon,
         ctlStep},
        {"cue",
         "show one frame",
         {{"WHERE", "frame number, or a timecode such as 10:00:04:00", true}},
         "no-wait",
         Needs::Daemon,
         ctlCue},
        {"next", "go to the next clip", {}, "no-wait", Needs::Daemon, ctlNext},
        {"prev",
         "go to the start of the clip, or to the clip before",
         {},
         "no-wait",
         Needs::Daemon,
         ctlPrevious},
        {"clip",
         "make a clip the current one",
         {{"NAME", "as `xpctl clips` shows it", true, "@clips"}},
         "no-wait",
         Needs::Daemon,
         ctlClip},
        {"clips", "list the clips of the active medium", {}, "", Needs::Store, ctlClips},
        {"media",
         "list the media with their room and how long one can still record",
         {},
         "",
         Needs::Store,
         ctlMedia},
        {"copy",
         "copy a clip to another medium and compare it",
         {{"CLIP", "as `xpctl clips` shows it, or its full path", true, "@clips"},
          {"MEDIUM", "as `xpctl media` shows it", true}},
         "no-wait",
         Needs::Store,
         ctlCopy},
        {"protect",
         "keep a clip from being deleted",
         {{"CLIP", "name or full path", true, "@clips"}},
         "no-wait",
         Needs::Store,
         ctlProtect},
        {"unprotect",
         "let a clip be deleted again",
         {{"CLIP", "name or full path", true, "@clips"}},
         "no-wait",
         Needs::Store,
         ctlUnprotect},
        {"delete",
         "delete a clip for good",
         {{"CLIP", "name or full path", true, "@clips"}},
         "no-wait",
         Needs::Store,
         ctlDelete},
        {"alarms",
         "list what is wrong now, since when, and what to do",
         {},
         "history",
         Needs::Store,
         ctlAlarms},
        {"get",
         "show a parameter",
         {{"NAME", "as `xpctl params` shows it", true, "@parameters"}},
         "",
         Needs::Store,
         ctlGet},
        {"set",
         "change a parameter",
         {{"NAME", "as `xpctl params` shows it", true, "@parameters"},
          {"VALUE", "a label, number or text", true, "@values"}},
         "",
         Needs::Store,
         ctlSet},
        {"params",
         "list parameters with value, choices and help",
         {{"WORD", "only those whose name holds it", false, "@parameters"}},
         "markdown",
         Needs::Store,
         ctlParams},
        {"list",
         "show or change the play list",
         {{"ACTION", "show, add, move or remove", false, "show add move remove"},
          {"ENTRY", "add: a clip; move, remove: its place, counted from 0", false, "@clips"},
          {"PLACE", "add: where to put it (else the end); move: where to", false}},
         "",
         Needs::Store,
         ctlList},
        {"picture",
         "save the picture on the output as a PNG file",
         {{"FILE", "its name", true, "@files"}},
         "",
         Needs::Daemon,
         ctlPicture},
        {"metrics", "print figures for monitoring, or serve them", {}, "listen", Needs::Store, ctlMetrics},
        {"doctor", "check the installation and say what to do", {}, "", Needs::Nothing, nullptr, ctlDoctor},
        {"completion",
         "print the completion of these commands for a shell",
         {{"SHELL", "bash or zsh", true, "bash zsh"}},
         "",
         Needs::Nothing,
         nullptr,
         ctlCompletion},
        {"manual", "print the manual page, for man", {}, "", Needs::Nothing, nullptr, ctlManual},
        {"complete", "", {{"KIND", "", true}, {"OF", "", false}}, "", Needs::Store, ctlComplete},
        {"shut-down",
         "end the daemon; a take that is running is closed",
         {},
         "no-wait",
         Needs::Daemon,
         ctlShutDown},
    };
    return rows;
}

bool CommandRow::takes(const OptionRow &option) const
{
    return (" " + std::string(options) + " ").find(" " + std::string(option.name) + " ") != std::string::npos;
}

namespace {
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
} // namespace

std::span<const OptionRow> ctlOptions()
{
    static constexpr OptionRow rows[] = {
        {"for", "SECONDS", "end after this many seconds of recorded time",
         [](CLI::App &command, Arguments &arguments) {
             command.add_option("--for", arguments.seconds)->check(takeLength);
         }},
        {"wait", "", "return when the end has been reached",
         [](CLI::App &command, Arguments &arguments) { command.add_flag("--wait", arguments.untilDone); }},
        {"no-wait", "", "do not wait for the effect",
         [](CLI::App &command, Arguments &arguments) {
             command.add_flag_callback("--no-wait", [&arguments] { arguments.wait = false; });
         }},
        {"once", "", "show it once, then end",
         [](CLI::App &command, Arguments &arguments) { command.add_flag("--once", arguments.once); }},
        {"stats", "", "show all figures, once a second",
         [](CLI::App &command, Arguments &arguments) { command.add_flag("--stats", arguments.stats); }},
        {"history", "", "what was raised and cleared before, oldest first",
         [](CLI::App &command, Arguments &arguments) { command.add_flag("--history", arguments.history); }},
        {"markdown", "", "the reference of all parameters",
         [](CLI::App &command, Arguments &arguments) { command.add_flag("--markdown", arguments.markdown); }},
        {"listen", "ADDRESS",
         "serve them to a monitoring system, at 127.0.0.1:9464 for example, or on a socket: /run/xp/metrics",
         [](CLI::App &command, Arguments &arguments) { command.add_option("--listen", arguments.listen); }},
    };
    return rows;
}

namespace {
ExitCode runCommand(const CommandRow &row, const Report &report, const Arguments &arguments)
{
    if (arguments.markdown) { // says the same on every machine: no recorder is needed
        report.result(parametersAsMarkdown(), {{"markdown", parametersAsMarkdown()}});
        return ExitCode::Done;
    }
    if (row.runAlone) {
        return row.runAlone(report, arguments);
    }
    Recorder recorder;
    if (const QString problem = recorder.storeProblem(); !problem.isEmpty()) {
        return report.error(ExitCode::NoStore, problem);
    }
    if (row.needs == Needs::Daemon && !recorder.daemonIsRunning()) {
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
    app.add_flag("--json", json, "results as one JSON object a line");
    app.require_subcommand(1);
    app.fallthrough();
    // A negative number is an argument, not an option.
    app.allow_windows_style_options(false);

    // The parser keeps references to the words: their place must not move.
    constexpr size_t mostArguments = 3;
    arguments->words.resize(mostArguments);
    const CommandRow *chosen = nullptr;
    for (const CommandRow &row : ctlCommands()) {
        CLI::App *command = app.add_subcommand(row.name, row.help);
        command->callback([&chosen, &row] { chosen = &row; });
        for (size_t i = 0; i < row.arguments.size(); ++i) {
            command->add_option(row.arguments[i].name, arguments->words[i], row.arguments[i].help)
                ->required(row.arguments[i].required);
        }
        for (const OptionRow &option : ctlOptions()) {
            if (!row.takes(option)) {
                continue;
            }
            option.add(*command, *arguments);
            command->get_option(std::string("--") + option.name)->description(option.help);
        }
        if (!row.isListed()) {
            command->group(""); // not in the help
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
    return int(runCommand(*chosen, Report(json), *arguments));
}
