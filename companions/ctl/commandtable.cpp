// SPDX-License-Identifier: GPL-3.0-or-later
// What xpctl can do: help, completion, manual page and the parser are made from these rows.
#include "companions/ctl/commands.h"

#include <CLI/CLI.hpp>

namespace {
constexpr auto looking = "Looking";
constexpr auto transport = "Recording and playing";
constexpr auto clips = "Clips and media";
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
} // namespace

// clang-format off
std::span<const CommandRow> ctlCommands()
{
    static const std::vector<CommandRow> rows = {
        {looking, "status", "show what the recorder is doing", {}, "", Needs::Store, ctlStatus},
        {looking, "watch", "show it continuously, a line a frame", {}, "once stats", Needs::Store, ctlWatch},
        {looking, "alarms", "list what is wrong now, since when, and what to do", {}, "history", Needs::Store, ctlAlarms},
        {looking, "picture", "save the picture on the output as a PNG file",
         {{"FILE", "its name", true, "@files"}}, "", Needs::Daemon, ctlPicture},

        {transport, "record", "start a take; returns when its clip is open", {}, "for no-wait", Needs::Daemon, ctlRecord},
        {transport, "play", "play the current material",
         {{"SPEED", "1 is normal, negative is reverse, 0 is still; from -100 to 100", false}},
         "wait no-wait", Needs::Daemon, ctlPlay},
        {transport, "still", "hold the picture", {}, "no-wait", Needs::Daemon, ctlStill},
        {transport, "stop", "end a take, or playback", {}, "no-wait", Needs::Daemon, ctlStop},
        {transport, "step", "go N frames on, or back",
         {{"N", "number of frames; negative: back", true}}, "no-wait", Needs::Daemon, ctlStep},
        {transport, "cue", "show one frame",
         {{"WHERE", "frame number, or a timecode such as 10:00:04:00", true}}, "no-wait", Needs::Daemon, ctlCue},
        {transport, "next", "go to the next clip", {}, "no-wait", Needs::Daemon, ctlNext},
        {transport, "prev", "go to the start of the clip, or to the clip before", {}, "no-wait", Needs::Daemon, ctlPrevious},
        {transport, "clip", "make a clip the current one",
         {{"NAME", "as `xpctl clips` shows it", true, "@clips"}}, "no-wait", Needs::Daemon, ctlClip},

        {clips, "clips", "list the clips of the active medium", {}, "", Needs::Store, ctlClips},
        {clips, "list", "show or change the play list",
         {{"ACTION", "show, add, move or remove", false, "show add move remove"},
          {"ENTRY", "add: a clip; move, remove: its place, counted from 0", false, "@clips"},
          {"PLACE", "add: where to put it (else the end); move: where to", false}},
         "", Needs::Store, ctlList},
        {clips, "media", "list the media with their room and how long one can still record", {}, "", Needs::Store, ctlMedia},
        {clips, "copy", "copy a clip to another medium and compare it",
         {{"CLIP", "as `xpctl clips` shows it, or its full path", true, "@clips"},
          {"MEDIUM", "as `xpctl media` shows it", true}},
         "no-wait", Needs::Store, ctlCopy},
        {clips, "protect", "keep a clip from being deleted",
         {{"CLIP", "name or full path", true, "@clips"}}, "no-wait", Needs::Store, ctlProtect},
        {clips, "unprotect", "let a clip be deleted again",
         {{"CLIP", "name or full path", true, "@clips"}}, "no-wait", Needs::Store, ctlUnprotect},
        {clips, "delete", "delete a clip for good",
         {{"CLIP", "name or full path", true, "@clips"}}, "no-wait", Needs::Store, ctlDelete},

        {settings, "get", "show a parameter",
         {{"NAME", "as `xpctl params` shows it", true, "@parameters"}}, "", Needs::Store, ctlGet},
        {settings, "set", "change a parameter",
         {{"NAME", "as `xpctl params` shows it", true, "@parameters"},
          {"VALUE", "a label, number or text", true, "@values"}},
         "", Needs::Store, ctlSet},
        {settings, "params", "list parameters with value, choices and help",
         {{"WORD", "only those whose name holds it", false, "@parameters"}}, "markdown", Needs::Store, ctlParams},

        {machine, "doctor", "check the installation and say what to do", {}, "", Needs::Nothing, nullptr, ctlDoctor},
        {machine, "metrics", "print figures for monitoring, or serve them", {}, "listen", Needs::Store, ctlMetrics},
        {machine, "completion", "print the completion of these commands for a shell",
         {{"SHELL", "bash or zsh", true, "bash zsh"}}, "", Needs::Nothing, nullptr, ctlCompletion},
        {machine, "manual", "print the manual page, for man", {}, "", Needs::Nothing, nullptr, ctlManual},
        {machine, "shut-down", "end the daemon; a take that is running is closed", {}, "no-wait", Needs::Daemon, ctlShutDown},
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
