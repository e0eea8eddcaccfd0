// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/control/answer.h"
#include "platform/control/who.h"
#include "platform/qmx/core/qmxtimecode.h"

#include <QMap>
#include <QString>

#include <chrono>
#include <functional>
#include <optional>
#include <span>
#include <vector>

class Recorder;

/// What a verb or a command cannot do without.
enum class Needs { Nothing, Store, Daemon };

/// One argument of a verb. All fronts hand arguments over as text; the row says what the text may be.
struct VerbArgument
{
    enum class Type {
        Text,
        Integer,
        Number,
        Place,  ///< a frame number, or a timecode
        Clip,   ///< file name of a clip
        Medium, ///< folder, its last part, or a label
    };

    const char *name; ///< lower_snake_case, in every front
    Type type;
    bool isRequired;
    const char *unit; ///< "frames", "s"; empty: none
    double minimum;   ///< of Integer and Number
    double maximum;
    const char *help;
    const char *wrong;  ///< refusal of a text that is none: "'%1' is no speed"
    const char *advice; ///< what it should be
    /// Only for a front that lives as long as the verb waits: a shell.
    bool isForShellOnly = false;
    /// A shell has an option of this name for it instead of a place behind the command.
    bool isOption = false;
};

/// Where a frame is, as an argument of type Place says it.
struct VerbPlace
{
    std::optional<unsigned> frame; ///< its number; else it is
    QmxTimecode timecode;

    static std::optional<VerbPlace> parse(const QString &text);
};

/// What somebody asks for. A value.
struct Request
{
    QString verb; ///< name of a row of verbs()
    QMap<QString, QString> arguments;
    bool wait = true;   ///< false: done as soon as the command is given
    bool force = false; ///< also when it ends a take or takes control from somebody
    /// A verb whose effect is there already is done at once. Without, it is done (or refused) again.
    bool repeatIsDone = true;
    /// Told while a verb goes on for long; may be empty. On the thread of perform().
    std::function<void(int percent, const QString &text)> progress;
    /// Told once the command has been given, before its effect is there: what is given from then on comes
    /// after it. A verb that moves nothing has given all it gives when it begins; not told when it is
    /// refused. May be empty. On the thread of perform().
    std::function<void()> given;
};

/// A request on its way: what the functions behind the rows get.
struct VerbCall
{
    Recorder &recorder;
    const Request &request;
    const Who &who;

    /// As given; empty when it was not. The others are for arguments of their types, which have been checked
    /// before the verb begins.
    QString text(const char *argument) const { return request.arguments.value(QLatin1String(argument)); }
    bool has(const char *argument) const { return !text(argument).isEmpty(); }
    bool isOn(const char *argument) const { return integer(argument) == 1; } ///< a switch
    int integer(const char *argument, int otherwise = 0) const;
    double number(const char *argument, double otherwise = 0) const;
    VerbPlace place(const char *argument) const;
};

/// One thing that can be asked of the recorder: a row of the table in verbtable.cpp.
struct VerbRow
{
    enum Trait : unsigned {
        MovesTransport = 1, ///< an owner, a lock and the local switch keep others from it; supersedes others
        EndsTake = 2,       ///< protected while a take runs
        StopsTake = 4,      ///< as EndsTake, but whoever began the take may
        ForEngineers = 8,   ///< who may operate the deck may not do this
    };

    const char *name; ///< lower_snake_case
    const char *help;
    std::vector<VerbArgument> arguments;
    unsigned traits;
    Needs needs;
    const char *writes;                     ///< parameters of the store, separated by blanks
    const char *effect;                     ///< what is waited for
    std::chrono::milliseconds effectWithin; ///< 0: as long as it takes
    const char *refusals;                   ///< codes that this verb itself can have, separated by blanks
    Answer (*run)(const VerbCall &call);
    /// How a shell asks for it where that is part of another command; null: by the verb's own name.
    const char *shellForm = nullptr;

    bool has(Trait trait) const { return (traits & unsigned(trait)) != 0; }
    /// What one has to be to do it.
    Role role() const { return has(ForEngineers) ? Role::Engineer : Role::Operate; }
};

std::span<const VerbRow> verbs();
/// Null when there is none of this name.
const VerbRow *findVerb(const QString &name);
/// Nothing, or why the arguments make no sense: missing, unknown, of a wrong form, outside their range.
std::optional<Answer> wrongArguments(const VerbRow &row, const Request &request);

// The functions of the rows. Takes (verbs_take.cpp, verbs_stop.cpp)
Answer performRecord(const VerbCall &);
Answer performStop(const VerbCall &);
/// While the store is away: by the daemon's own socket, judged by what shared memory tells of the take.
Answer performStopWithoutStore(Recorder &recorder);
// Playing (verbs_play.cpp)
Answer performPlay(const VerbCall &);
Answer performStill(const VerbCall &);
Answer performStep(const VerbCall &);
Answer performCue(const VerbCall &);
Answer performNext(const VerbCall &);
Answer performPrevious(const VerbCall &);
Answer performClip(const VerbCall &);
Answer performShutDown(const VerbCall &);
// What is still being recorded, and parts (verbs_replay.cpp)
Answer performLive(const VerbCall &);
Answer performReplay(const VerbCall &);
Answer performAngle(const VerbCall &);
// Marks (verbs_marks.cpp)
Answer performMark(const VerbCall &);
Answer performUnmark(const VerbCall &);
Answer performMarks(const VerbCall &);
// Files (verbs_files.cpp)
Answer performCopy(const VerbCall &);
Answer performProtect(const VerbCall &);
Answer performUnprotect(const VerbCall &);
Answer performDelete(const VerbCall &);
Answer performRename(const VerbCall &);
Answer performVerify(const VerbCall &);
Answer performExport(const VerbCall &);
Answer performCancel(const VerbCall &);
Answer performSchedule(const VerbCall &);
Answer performUnschedule(const VerbCall &);
// Who is in control (verbs_control.cpp)
Answer performTakeControl(const VerbCall &);
Answer performReleaseControl(const VerbCall &);
Answer performLock(const VerbCall &);
Answer performUnlock(const VerbCall &);
Answer performRemote(const VerbCall &);
Answer performLocal(const VerbCall &);
// Alarms (verbs_alarms.cpp)
Answer performAcknowledge(const VerbCall &);
