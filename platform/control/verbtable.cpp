// SPDX-License-Identifier: GPL-3.0-or-later
// Everything that can be asked of the recorder. Commands of the shell, HTTP routes, lines and OSC addresses
// are made from these rows.
#include "platform/control/ownership.h"
#include "platform/control/verbs.h"

#include "platform/qmx/core/qmxtimecode.h"
#include "platform/store/values.h"

#include <algorithm>
#include <cmath>

using namespace std::chrono_literals;

namespace {
using Type = VerbArgument::Type;
using enum VerbRow::Trait;

constexpr double mostSteps = 10000;
constexpr double longestTake = 7 * 24 * 3600;

VerbArgument clipArgument(const char *name, const char *help)
{
    return {name,
            Type::Clip,
            true,
            "",
            0,
            0,
            help,
            "'%1' is no clip",
            "a file name; `xpctl clips` lists those there are"};
}

/// What a shell gives by an option; a number is a switch.
VerbArgument option(const char *name, Type type, const char *help)
{
    const bool isSwitch = type == Type::Integer;
    VerbArgument argument{
        name,  type,
        false, "",
        0,     isSwitch ? 1.0 : 4294967295.0,
        help,  isSwitch ? "'%1' is neither 0 nor 1" : "'%1' is neither a frame number nor a timecode",
        help};
    argument.isOption = true;
    return argument;
}

VerbArgument optionalClip(const char *help)
{
    VerbArgument argument = clipArgument("clip", help);
    argument.isRequired = false;
    return argument;
}

VerbArgument timeArgument(const char *help)
{
    return {"seconds",
            Type::Integer,
            false,
            "s",
            1,
            double(std::chrono::seconds(Ownership::longest).count()),
            help,
            "'%1' is no length of time",
            "whole seconds, at most a day"};
}
} // namespace

// clang-format off
std::span<const VerbRow> verbs()
{
    static const std::vector<VerbRow> rows = {
        {"record", "start a take; returns when its clip is open",
         {{"for", Type::Number, false, "s", 0, longestTake, "end after this many seconds of recorded time",
           "'%1' is no length of a take", "seconds, at most a week", true},
          option("start", Type::Text, "its first frame, at most ten seconds ahead: a time of day (10:00:00.250) or a timecode, as record_start has it")},
         MovesTransport, Needs::Daemon, "record_start transport_command", "the clip is open", 13s,
         "already_recording alarm no_input no_effect", performRecord},
        {"schedule", "plan a take that the recorder begins and ends by itself, exactly to the frame",
         {{"at", Type::Text, false, "", 0, 0, "its first frame: a time of day (10:00:00, 10:00:00.250) or a timecode (10:00:00:00), with a date before it or the next one; else now",
           "'%1' is no time", "for example 10:00:00 or 2030-01-31T10:00:00"},
          {"until", Type::Text, false, "", 0, 0, "the frame after its last one; else until somebody stops it", "'%1' is no time", "for example 10:30:00"}},
         0, Needs::Store, "media_order record_schedule", "it is in the schedule", 0s,
         "order_refused no_answer", performSchedule, "xpctl record --at AT --until UNTIL"},
        {"unschedule", "take a take out of the schedule",
         {{"number", Type::Integer, true, "", 1, 1000000, "as `xpctl schedule` shows it", "'%1' is no number of a take", "`xpctl schedule` lists them"}},
         0, Needs::Store, "media_order record_schedule", "it is gone", 0s, "order_refused no_answer", performUnschedule, "xpctl schedule cancel NUMBER"},
        {"play", "play the current material",
         {{"speed", Type::Number, false, "", -maximumSpeed, maximumSpeed, "1 is normal, negative is reverse, 0 is still; from -100 to 100",
           "'%1' is no speed", "a number from -100 to 100: 1 is normal, 0.5 is half, -2 is reverse"},
          {"until_done", Type::Integer, false, "", 0, 1, "1: return when the end has been reached",
           "'%1' is neither 0 nor 1", "1: return when the end has been reached", true}},
         MovesTransport | EndsTake, Needs::Daemon, "transport_speed", "pictures come to the output at this speed", 13s,
         "take_runs nothing_to_play at_the_end alarm no_effect", performPlay},
        {"still", "hold the picture", {},
         MovesTransport | EndsTake, Needs::Daemon, "transport_speed", "the picture is held", 3s,
         "take_runs nothing_to_play no_effect", performStill},
        {"stop", "end a take, or playback", {},
         MovesTransport | StopsTake, Needs::Daemon, "transport_command", "the clip is closed, or nothing plays", 10s,
         "not_your_take no_effect", performStop},
        {"step", "go N frames on, or back",
         {{"frames", Type::Integer, true, "frames", -mostSteps, mostSteps, "number of frames; negative: back",
           "'%1' is no number of frames", "a number from -10000 to 10000; to go far: xpctl cue FRAME"}},
         MovesTransport | EndsTake, Needs::Daemon, "transport_speed transport_command", "each frame has been on the output", 3s,
         "take_runs nothing_to_play no_effect", performStep},
        {"cue", "show one frame",
         {{"where", Type::Place, true, "", 0, 4294967295.0, "frame number, or a timecode such as 10:00:04:00",
           "'%1' is neither a frame number nor a timecode", "for example: xpctl cue 100, xpctl cue 10:00:04:00"}},
         MovesTransport | EndsTake, Needs::Daemon, "transport_speed cue_to_frame cue_to_timecode", "the frame is held on the output", 6s,
         "take_runs nothing_to_play outside no_effect", performCue},
        {"next", "go to the next clip", {},
         MovesTransport | EndsTake, Needs::Daemon, "transport_command transport_speed", "another clip is on the output", 3s,
         "take_runs no_effect", performNext},
        {"prev", "go to the start of the clip, or to the clip before", {},
         MovesTransport | EndsTake, Needs::Daemon, "transport_command transport_speed", "something before this is on the output", 3s,
         "take_runs no_effect", performPrevious},
        {"clip", "make a clip the current one", {clipArgument("name", "as `xpctl clips` shows it")},
         MovesTransport | EndsTake, Needs::Daemon, "go_to_clip_name transport_speed", "it is the current clip, and on the output", 6s,
         "take_runs no_clip alarm no_effect", performClip},
        {"live", "play the clip that another deck on the medium is recording, as near to its newest frame as runs smoothly",
         {{"seconds", Type::Number, false, "s", -86400, 86400, "so much further behind; the sign does not matter",
           "'%1' is no length of time", "seconds, at most a day"}},
         MovesTransport | EndsTake, Needs::Daemon, "start_at go_to_clip_name transport_speed media_updated", "pictures of it come to the output", 9s,
         "take_runs plays_a_list nothing_to_play nothing_grows alarm no_effect", performLive},
        {"replay", "play the marked part of the clip, from its in to its out",
         {{"speed", Type::Number, false, "", -maximumSpeed, maximumSpeed, "1 is normal, negative is reverse from its end; 0 holds its first picture",
           "'%1' is no speed", "a number from -100 to 100"}},
         MovesTransport | EndsTake, Needs::Daemon, "start_at go_to_clip_name transport_speed media_updated", "pictures of it come to the output", 9s,
         "take_runs plays_a_list nothing_to_play no_clip no_marks outside alarm no_effect", performReplay},
        {"angle", "go to the same timecode in another clip and go on as before", {clipArgument("clip", "as `xpctl clips` shows it")},
         MovesTransport | EndsTake, Needs::Daemon, "start_at go_to_clip_name media_updated", "a picture of it is on the output", 6s,
         "take_runs plays_a_list nothing_to_play no_clip outside alarm no_effect", performAngle},
        {"mark", "mark where the part begins that is to be replayed, where it ends, or a point",
         {{"what", Type::Text, true, "", 0, 0, "in, out, or a name; out is the last frame of the part", "'%1' is no mark", "in, out, or a name"},
          {"where", Type::Place, false, "", 0, 4294967295.0, "frame number or timecode; else what is on the output. Of out it is the frame behind the last",
           "'%1' is neither a frame number nor a timecode", "for example: 100, 10:00:04:00"},
          optionalClip("as `xpctl clips` shows it, or its full path; else the current one")},
         0, Needs::Store, "marks_changed", "it is kept beside the clip", 3s, "no_clip outside marks_not_kept", performMark},
        {"unmark", "remove a mark",
         {{"what", Type::Text, true, "", 0, 0, "in, out, its name, or all", "'%1' is no mark", "in, out, a name, or all"}, optionalClip("as `xpctl clips` shows it, or its full path; else the current one")},
         0, Needs::Store, "marks_changed", "it is gone", 3s, "no_clip marks_not_kept", performUnmark},
        {"marks", "tell the marks of a clip", {optionalClip("as `xpctl clips` shows it, or its full path; else the current one")},
         0, Needs::Store, "", "they have been read", 3s, "no_clip", performMarks},
        {"copy", "copy a clip to another medium and compare it",
         {clipArgument("clip", "as `xpctl clips` shows it, or its full path"),
          {"medium", Type::Medium, true, "", 0, 0, "as `xpctl media` shows it", "'%1' is no medium", "a folder or a label; `xpctl media` lists them"}},
         0, Needs::Store, "media_order", "the copy has been compared", 0s,
         "order_refused no_answer", performCopy},
        {"protect", "keep a clip from being deleted", {clipArgument("clip", "name or full path")},
         0, Needs::Store, "media_order", "it is protected", 0s, "order_refused no_answer", performProtect},
        {"unprotect", "let a clip be deleted again", {clipArgument("clip", "name or full path")},
         0, Needs::Store, "media_order", "it can be deleted", 0s, "order_refused no_answer", performUnprotect},
        {"delete", "delete a clip for good", {clipArgument("clip", "name or full path")},
         0, Needs::Store, "media_order", "it is gone", 0s, "order_refused no_answer", performDelete},
        {"rename", "give a clip another name",
         {clipArgument("clip", "name or full path"),
          {"name", Type::Text, true, "", 0, 0, "the new name; its ending may be left out", "'%1' is no name", "a file name"}},
         0, Needs::Store, "media_order play_list play_list_changed current_clip", "it has the name", 0s,
         "order_refused no_answer", performRename},
        {"verify", "check that clips are what was recorded, by the proof that they carry",
         {optionalClip("as `xpctl clips` shows it, or its full path; also one that is being recorded"),
          option("all", Type::Integer, "1: all clips of the active medium")},
         0, Needs::Store, "media_order", "all of it has been read and found whole", 0s,
         "clip_damaged order_refused no_answer", performVerify},
        {"export", "make one file of a clip, a part of one or the play list: a clip of the same pictures, or a proxy",
         {optionalClip("as `xpctl clips` shows it, its full path, or a part of it"),
          {"to", Type::Text, false, "", 0, 0, "a medium, a name on the active one, or a path", "'%1' is no place", "a medium or a file name"},
          option("in", Type::Place, "its first frame, or the timecode of it; else the begin"),
          option("out", Type::Place, "the frame behind its last one, or the timecode of that; else the end"),
          option("list", Type::Integer, "1: the play list instead of a clip"),
          option("proxy", Type::Integer, "1: H.264 and AAC in an MP4 file, for everybody's player"),
          option("burn", Type::Integer, "1: with the timecode in the pictures of a proxy")},
         0, Needs::Store, "media_order", "the file has its name, and a clip has been read back", 0s,
         "nothing_to_play order_refused no_answer", performExport},
        {"cancel", "end the copy, check or export that runs now; what it has made so far goes", {},
         0, Needs::Store, "media_order", "the media daemon ends it", 0s, "order_refused no_answer", performCancel},
        {"take_control", "be the one whose transport commands are done, for a time; each renews it",
         {timeArgument("how long it lasts after the last command; else 60")},
         0, Needs::Daemon, "control_owner", "the store has it", 5s, "other_in_control", performTakeControl},
        {"release_control", "let everybody operate again", {},
         0, Needs::Daemon, "control_owner", "the store has it", 5s, "other_in_control", performReleaseControl},
        {"lock", "keep the transport commands of all others away for a time",
         {timeArgument("how long; else 60")},
         0, Needs::Daemon, "control_lock", "the store has it", 5s, "other_in_control locked", performLock},
        {"unlock", "end the lock", {},
         0, Needs::Daemon, "control_lock", "the store has it", 5s, "locked", performUnlock},
        {"remote", "let everybody move the transport", {},
         0, Needs::Daemon, "control_mode", "the store has it", 5s, "other_in_control", performRemote},
        {"local", "let only who sits at the machine move the transport", {},
         0, Needs::Daemon, "control_mode", "the store has it", 5s, "other_in_control", performLocal},
        {"acknowledge", "say that an alarm has been seen; it stays until its cause is gone",
         {{"alarm", Type::Text, true, "", 0, 0, "as `xpctl alarms` shows it", "'%1' is no alarm", "a name; `xpctl alarms` lists them"}},
         0, Needs::Daemon, "alarms_acknowledged", "the store has it", 5s, "no_alarm", performAcknowledge},
        {"shut_down", "end the daemon; a take that is running is closed", {},
         MovesTransport | EndsTake | ForEngineers, Needs::Daemon, "transport_command", "the daemon has ended", 30s,
         "take_runs no_effect", performShutDown},
    };
    return rows;
}
// clang-format on

const VerbRow *findVerb(const QString &name)
{
    const auto all = verbs();
    const auto row = std::find_if(all.begin(), all.end(),
                                  [&name](const VerbRow &one) { return name == QLatin1String(one.name); });
    return row == all.end() ? nullptr : &*row;
}

namespace {
std::optional<int> integerOf(const QString &text)
{
    bool isNumber = false;
    const int value = text.toInt(&isNumber);
    return isNumber ? std::optional(value) : std::nullopt;
}

std::optional<double> numberOf(const QString &text)
{
    bool isNumber = false;
    const double value = text.toDouble(&isNumber);
    return isNumber ? std::optional(value) : std::nullopt;
}
} // namespace

std::optional<VerbPlace> VerbPlace::parse(const QString &text)
{
    bool isNumber = false;
    const unsigned frame = text.toUInt(&isNumber);
    if (isNumber) return VerbPlace{frame, {}};
    const QmxTimecode timecode(text);
    return timecode.isValid() ? std::optional(VerbPlace{std::nullopt, timecode}) : std::nullopt;
}

int VerbCall::integer(const char *argument, int otherwise) const
{
    return integerOf(text(argument)).value_or(otherwise);
}

double VerbCall::number(const char *argument, double otherwise) const
{
    return numberOf(text(argument)).value_or(otherwise);
}

VerbPlace VerbCall::place(const char *argument) const
{
    return VerbPlace::parse(text(argument)).value_or(VerbPlace());
}

namespace {
bool makesSense(const VerbArgument &argument, const QString &text)
{
    const auto isWithin = [&argument](const auto &value) { // (no number is in no range)
        return value && *value >= argument.minimum && *value <= argument.maximum;
    };
    switch (argument.type) {
    case Type::Integer:
        return isWithin(integerOf(text));
    case Type::Number:
        return isWithin(numberOf(text));
    case Type::Place:
        return VerbPlace::parse(text).has_value();
    case Type::Text:
    case Type::Clip:
    case Type::Medium:
        break;
    }
    constexpr int longestText = 4096;
    return text.size() <= longestText && !text.contains(QChar(u'\0'));
}
} // namespace

std::optional<Answer> wrongArguments(const VerbRow &row, const Request &request)
{
    for (auto given = request.arguments.begin(); given != request.arguments.end(); ++given) {
        const bool isKnown =
            std::any_of(row.arguments.begin(), row.arguments.end(),
                        [&](const VerbArgument &one) { return given.key() == QLatin1String(one.name); });
        if (!isKnown)
            return Answer::refused(
                Cause::Argument, "wrong_argument",
                QStringLiteral("%1 has no argument '%2'").arg(QLatin1String(row.name), given.key()));
    }
    for (const VerbArgument &argument : row.arguments) {
        const QString text = request.arguments.value(QLatin1String(argument.name));
        const bool isGiven = request.arguments.contains(QLatin1String(argument.name));
        if (!isGiven && argument.isRequired)
            return Answer::refused(Cause::Argument, "wrong_argument",
                                   QStringLiteral("%1 is required").arg(QLatin1String(argument.name)),
                                   QString::fromUtf8(argument.advice));
        if (isGiven && !makesSense(argument, text))
            return Answer::refused(Cause::Argument, "wrong_argument",
                                   QString::fromUtf8(argument.wrong).arg(text),
                                   QString::fromUtf8(argument.advice));
    }
    return {};
}
