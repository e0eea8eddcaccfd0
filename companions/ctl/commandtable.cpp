// SPDX-License-Identifier: GPL-3.0-or-later
// What xpctl can do: help, completion, manual page and the parser are made from these rows.
#include "companions/ctl/commands.h"

#include <CLI/CLI.hpp>

#include <cstring>

namespace {
using Type = ArgumentRow::Type;

constexpr auto looking = "Looking";
constexpr auto transport = "Recording and playing";
constexpr auto clips = "Clips and media";
constexpr auto control = "Who is in control";
constexpr auto settings = "Settings";
constexpr auto machine = "The machine";

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

void addSwitch(CLI::App &command, Arguments &arguments, const char *name)
{
    command.add_flag_callback(std::string("--") + name,
                              [&arguments, name] { arguments.options[name] = "1"; });
}

void addValue(CLI::App &command, Arguments &arguments, const char *name)
{
    command.add_option_function<std::string>(
        std::string("--") + name,
        [&arguments, name](const std::string &value) { arguments.options[name] = value; });
}

/// What a shell offers for an argument of a verb.
const char *wordsFor(const VerbRow &verb, const VerbArgument &argument)
{
    struct Row
    {
        const char *verb, *argument, *words;
    };
    static constexpr Row rows[] = {{"acknowledge", "alarm", "@alarms"},
                                   {"mark", "what", "in out @marks"},
                                   {"unmark", "what", "in out all @marks"},
                                   {"export", "to", "@media @files"}};
    for (const Row &row : rows)
        if (std::strcmp(row.verb, verb.name) == 0 && std::strcmp(row.argument, argument.name) == 0)
            return row.words;
    return argument.type == VerbArgument::Type::Clip     ? "@clips"
           : argument.type == VerbArgument::Type::Medium ? "@media"
                                                         : "";
}

/// A command that is a verb: its help and its arguments are the verb's. `labels` are how the arguments are
/// called here, `name` the command when it is not the verb's.
CommandRow ofVerb(const char *group, const char *verbName, const char *options,
                  std::vector<const char *> labels = {}, const char *name = nullptr,
                  std::vector<IdleRow> idle = {})
{
    const VerbRow *verb = findVerb(QString::fromLatin1(verbName));
    CommandRow row{group,   name ? name : verbName, verb->help, {}, options, verb->needs,
                   nullptr, std::move(idle)};
    for (const VerbArgument &argument : verb->arguments) {
        if (argument.isForShellOnly || argument.isOption) continue;
        const bool isClip = argument.type == VerbArgument::Type::Clip;
        row.arguments.push_back({labels[row.arguments.size()],
                                 argument.help,
                                 argument.isRequired,
                                 isClip ? Type::Clip : Type::Text,
                                 {},
                                 false,
                                 wordsFor(*verb, argument)});
    }
    row.verb = verb;
    return row;
}
} // namespace

// clang-format off
std::span<const CommandRow> ctlCommands()
{
    static const std::vector<CommandRow> rows = {
        {looking, "status", "show what the recorder is doing", {}, "", Needs::Store, ctlStatus},
        {looking, "watch", "show it continuously, a line a frame", {}, "once stats", Needs::Store, ctlWatch, {{Idle::TellsLast}}},
        {looking, "ready", "say whether a take could begin now, and begin none", {}, "", Needs::Daemon, ctlReady},
        {looking, "alarms", "list what is wrong now, since when, and what to do", {}, "history markdown", Needs::Store, ctlAlarms, {{Idle::TellsLast}}},
        ofVerb(looking, "acknowledge", "", {"ALARM"}),
        {looking, "picture", "save the picture on the output as a PNG or JPEG file",
         {{"FILE", "its name; the ending, .png or .jpg, says which", true, Type::File}}, "full", Needs::Daemon, ctlPicture},

        ofVerb(transport, "record", "for start at until no-wait on-word"),
        {transport, "schedule", "list the takes to come, or cancel one",
         {{"ACTION", "cancel", false, Type::Choice, {"cancel"}}, {"N", "number of the take", false, Type::Text, {}, false, "@takes"}}, "", Needs::Store, ctlSchedule, {{Idle::TellsLast}}},
        ofVerb(transport, "play", "wait no-wait force", {"SPEED"}),
        ofVerb(transport, "still", "no-wait force"),
        ofVerb(transport, "stop", "no-wait force on-word"),
        ofVerb(transport, "step", "no-wait force", {"N"}),
        ofVerb(transport, "cue", "no-wait force", {"WHERE"}),
        ofVerb(transport, "next", "no-wait force"),
        ofVerb(transport, "prev", "no-wait force"),
        ofVerb(transport, "clip", "no-wait force", {"NAME"}),
        ofVerb(transport, "live", "no-wait force", {"SECONDS"}),
        ofVerb(transport, "replay", "no-wait force", {"SPEED"}),
        ofVerb(transport, "angle", "no-wait force", {"CLIP"}),
        ofVerb(transport, "mark", "", {"WHAT", "WHERE", "CLIP"}, nullptr, {{Idle::NeedsPath}}),
        ofVerb(transport, "unmark", "", {"WHAT", "CLIP"}, nullptr, {{Idle::NeedsPath}}),
        ofVerb(transport, "marks", "", {"CLIP"}, nullptr, {{Idle::NeedsPath}}),

        {clips, "clips", "list the clips of the active medium", {}, "all", Needs::Store, ctlClips, {{Idle::TellsLast}}},
        {clips, "info", "show what a clip is: format, length, timecode, size, sound, reel",
         {{"CLIP", "as `xpctl clips` shows it, or its full path", true, Type::Clip}}, "", Needs::Store, ctlInfo, {{Idle::NeedsPath}}},
        {clips, "list", "show or change the play list",
         {{"ACTION", "show, add, move, remove or clear", false, Type::Choice, {"show", "add", "move", "remove", "clear"}},
          {"ENTRY", "add: clips, and behind them the place to put them (else the end); move: from and to; remove: "
           "places, counted from 0", false, Type::Clip, {}, true, "@entries"}},
         "", Needs::Store, ctlList, {{Idle::Refuses, "add move remove clear"}, {Idle::TellsLast}}},
        {clips, "edl", "write the play list, or the marks of a clip, as an edit decision list (CMX 3600), or read them from one",
         {{"ACTION", "save or load", true, Type::Choice, {"save", "load"}}, {"FILE", "its name", true, Type::File},
          {"CLIP", "whose marks; else it is the play list", false, Type::Clip}}, "", Needs::Store, ctlEdl, {{Idle::NeedsPath}}},
        {clips, "media", "list the media with their room and how long one can still record", {}, "", Needs::Store, ctlMedia, {{Idle::TellsLast}}},
        ofVerb(clips, "copy", "no-wait", {"CLIP", "MEDIUM"}),
        ofVerb(clips, "verify", "all no-wait", {"CLIP"}),
        ofVerb(clips, "export", "in out list proxy burn no-wait", {"CLIP", "TO"}),
        ofVerb(clips, "cancel", ""),
        ofVerb(clips, "protect", "no-wait", {"CLIP"}),
        ofVerb(clips, "unprotect", "no-wait", {"CLIP"}),
        ofVerb(clips, "delete", "no-wait", {"CLIP"}),
        ofVerb(clips, "rename", "no-wait", {"CLIP", "NAME"}),

        ofVerb(control, "take_control", "force", {"SECONDS"}, "take-control"),
        ofVerb(control, "release_control", "force", {}, "release-control"),
        ofVerb(control, "lock", "", {"SECONDS"}),
        ofVerb(control, "unlock", "force"),
        ofVerb(control, "remote", ""),
        ofVerb(control, "local", ""),

        {settings, "get", "show a parameter",
         {{"NAME", "as `xpctl params` shows it", true, Type::Parameter}}, "", Needs::Store, ctlGet, {{Idle::TellsLast}}},
        {settings, "set", "change a parameter",
         {{"NAME", "as `xpctl params` shows it", true, Type::Parameter, {}, false, "@settable"},
          {"VALUE", "a label, number or text", true, Type::Value}},
         "force", Needs::Store, ctlSet, {{Idle::TakesUp}}},
        {settings, "params", "list parameters with value, choices and help",
         {{"WORD", "only those whose name holds it", false, Type::Parameter}}, "markdown", Needs::Store, ctlParams, {{Idle::TellsLast}}},

        {settings, "settings", "keep all settings in a file, take them from one, compare them, or go back to the defaults",
         {{"ACTION", "export, import, diff (with a file, else with the defaults) or reset", true, Type::Choice, {"export", "import", "diff", "reset"}},
          {"FILE", "its name; reset: a single parameter", false, Type::File, {}, false, "@settings"}},
         "force", Needs::Store, ctlSettings, {{Idle::TakesUp, "import reset"}, {Idle::TellsLast}}},

        {settings, "profile", "keep the settings under a name, show what it would change, apply it",
         {{"ACTION", "list, save, diff (what apply would change), apply or remove", true, Type::Choice, {"list", "save", "diff", "apply", "remove"}},
          {"NAME", "of the profile; of a further channel its own, else that of channel 1", false, Type::Text, {}, false, "@profiles"}},
         "force", Needs::Store, ctlProfile, {{Idle::TakesUp, "apply"}, {Idle::Keeps, "save remove"}, {Idle::TellsLast}}},

        {machine, "help", "list the commands, or show how one is used",
         {{"COMMAND", "its name", false, Type::Text, {}, false, "@commands"}}, "", Needs::Nothing, nullptr, {}, ctlNothing},
        {machine, "channel", "list, make or remove further recorders of this machine",
         {{"ACTION", "list, add, remove; for the services: view (its folders and its share of the media), follow (the "
           "media of all channels)", true, Type::Choice, {"list", "add", "remove", "view", "follow"}},
          {"CHANNEL", "its number, from 2 to 64", false, Type::Text, {}, false, "@channels"},
          {"INPUT", "add: where its picture comes from, as in the profile (else a test picture); plays:N makes one that "
           "plays the clips of channel N and records none", false}},
         "", Needs::Nothing, nullptr, {}, ctlChannel},
        {machine, "fleet", "list the recorders that keep their settings on the same server, rename or forget one",
         {{"ACTION", "list, rename or remove; neither is done with one that is in use", true, Type::Choice, {"list", "rename", "remove"}},
          {"NAME", "of a recorder", false},
          {"NEW", "rename: its new name", false}},
         "", Needs::Nothing, nullptr, {}, ctlFleet},
        {machine, "doctor", "check the installation and say what to do", {}, "", Needs::Nothing, nullptr, {}, ctlDoctor},
        {machine, "metrics", "print figures for monitoring, or serve them", {}, "listen", Needs::Store, ctlMetrics},
        {machine, "completion", "print the completion of these commands for a shell",
         {{"SHELL", "bash or zsh", true, Type::Choice, {"bash", "zsh"}}}, "", Needs::Nothing, nullptr, {}, ctlCompletion},
        {machine, "manual", "print the manual page, for man", {}, "", Needs::Nothing, nullptr, {}, ctlManual},
        ofVerb(machine, "shut_down", "no-wait force", {}, "shut-down"),
        {"", "complete", "", {{"KIND", "", true}, {"OF", "", false}}, "", Needs::Store, ctlComplete},
    };
    return rows;
}
// clang-format on

std::span<const OptionRow> ctlOptions()
{
    static constexpr OptionRow rows[] = {
        {"for", "SECONDS", "end after this many seconds of recorded time",
         [](CLI::App &command, Arguments &arguments) {
             command
                 .add_option_function<double>("--for",
                                              [&arguments](double seconds) {
                                                  arguments.length = std::chrono::duration<double>(seconds);
                                              })
                 ->check(takeLength);
         }},
        {"start", "TIME",
         "its first frame, at most ten seconds ahead: a time of day or a timecode; the same one given to "
         "several "
         "machines begins their takes together",
         [](CLI::App &command, Arguments &arguments) { addValue(command, arguments, "start"); }},
        {"at", "TIME",
         "plan a take: its first frame carries this timecode (10:00:00:00) or is that of this time of day "
         "(10:00:00, 10:00:00.250), with a date before it or the next one",
         [](CLI::App &command, Arguments &arguments) { command.add_option("--at", arguments.at); }},
        {"until", "TIME", "plan a take: it ends right before this frame; without --at it begins now",
         [](CLI::App &command, Arguments &arguments) { command.add_option("--until", arguments.until); }},
        {"wait", "", "return when the end has been reached",
         [](CLI::App &command, Arguments &arguments) { command.add_flag("--wait", arguments.untilDone); }},
        {"no-wait", "", "do not wait for the effect",
         [](CLI::App &command, Arguments &arguments) {
             command.add_flag_callback("--no-wait", [&arguments] { arguments.wait = false; });
         }},
        {"force", "",
         "also when it ends a take of somebody else, or takes control from somebody; of settings: although "
         "nothing can be done with a value now",
         [](CLI::App &command, Arguments &arguments) { command.add_flag("--force", arguments.force); }},
        {"once", "", "show it once, then end",
         [](CLI::App &command, Arguments &arguments) { command.add_flag("--once", arguments.once); }},
        {"stats", "", "show all figures, once a second",
         [](CLI::App &command, Arguments &arguments) { command.add_flag("--stats", arguments.stats); }},
        {"history", "", "what was raised and cleared before, oldest first",
         [](CLI::App &command, Arguments &arguments) { command.add_flag("--history", arguments.history); }},
        {"all", "",
         "all clips of the active medium; clips: also what looks like one and cannot be played, and why",
         [](CLI::App &command, Arguments &arguments) {
             command.add_flag_callback("--all", [&arguments] {
                 arguments.all = true;
                 arguments.options["all"] = "1";
             });
         }},
        {"on-word", "",
         "say `ready` when nothing stands in the way, and do it when a line comes on standard input",
         [](CLI::App &command, Arguments &arguments) { command.add_flag("--on-word", arguments.onWord); }},
        {"in", "PLACE", "the first frame that is taken, by number or timecode",
         [](CLI::App &command, Arguments &arguments) { addValue(command, arguments, "in"); }},
        {"out", "PLACE", "the first frame that is no longer taken",
         [](CLI::App &command, Arguments &arguments) { addValue(command, arguments, "out"); }},
        {"list", "", "the play list instead of a clip",
         [](CLI::App &command, Arguments &arguments) { addSwitch(command, arguments, "list"); }},
        {"proxy", "", "H.264 and AAC in an MP4 file, for everybody's player",
         [](CLI::App &command, Arguments &arguments) { addSwitch(command, arguments, "proxy"); }},
        {"burn", "", "with the timecode in the pictures of a proxy",
         [](CLI::App &command, Arguments &arguments) { addSwitch(command, arguments, "burn"); }},
        {"full", "", "in the size of the output, not in that of the preview",
         [](CLI::App &command, Arguments &arguments) { command.add_flag("--full", arguments.full); }},
        {"markdown", "", "the reference of all, for documents",
         [](CLI::App &command, Arguments &arguments) { command.add_flag("--markdown", arguments.markdown); }},
        {"listen", "ADDRESS",
         "serve them to a monitoring system, at 127.0.0.1:9464 for example, or on a socket: /run/xp/metrics",
         [](CLI::App &command, Arguments &arguments) { command.add_option("--listen", arguments.listen); }},
    };
    return rows;
}
