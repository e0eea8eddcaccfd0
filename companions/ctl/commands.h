// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "companions/ctl/report.h"

#include "platform/control/recorder.h"
#include "platform/control/verbs.h"

#include <chrono>
#include <map>
#include <span>
#include <string>
#include <vector>

namespace CLI {
class App;
}

/// What stands behind the name of a command, as typed.
struct Arguments
{
    std::vector<std::string> words; ///< in the order of the row's arguments; missing optional ones are empty
    bool wait = true;               ///< false: --no-wait
    bool untilDone = false;         ///< --wait: also until the playback has come to its end
    std::chrono::duration<double> length{};     ///< --for; 0: not given
    std::string at;                             ///< --at
    std::string until;                          ///< --until
    bool force = false;                         ///< --force
    bool once = false;                          ///< --once
    bool markdown = false;                      ///< --markdown
    bool stats = false;                         ///< --stats
    bool history = false;                       ///< --history
    bool all = false;                           ///< --all
    bool full = false;                          ///< --full
    bool onWord = false;                        ///< --on-word
    std::string listen;                         ///< --listen
    std::map<std::string, std::string> options; ///< of verbs, by the name of the argument; a switch has "1"
    std::vector<std::string> rest; ///< of the argument that may come several times; then behind `words`

    std::string word(size_t index) const { return index < words.size() ? words[index] : std::string(); }
};

struct ArgumentRow
{
    /// What may stand there. A choice is checked before the command runs; a shell offers what it knows of
    /// each. (The arguments of verbs have types of their own, which the verb checks.)
    enum class Type {
        Text,
        Choice,    ///< one of `choices`
        Clip,      ///< a shell is told by `xpctl complete`, as of the two that follow
        Parameter, ///< a name
        Value,     ///< of the parameter before it
        File
    };

    const char *name;
    const char *help;
    bool required;
    Type type = Type::Text;
    std::vector<const char *> choices = {};
    bool isMany = false; ///< the last one of a row: may come several times
    /// What a shell offers in place of what its type says, separated by blanks: words, kinds that `xpctl
    /// complete` lists (@clips; rows of completewords.cpp, some by the first argument of the command), or
    /// @files.
    const char *completes = "";
};

/// An option of some commands.
struct OptionRow
{
    const char *name;  ///< without the dashes
    const char *value; ///< what its value is called; empty: it has none
    const char *help;
    void (*add)(CLI::App &command, Arguments &arguments);
};

/// What becomes of a command that the store is enough for while the daemon is not running.
enum class Idle {
    Works,     ///< it has nothing to do with the daemon, or speaks of that itself
    Refuses,   ///< nothing is done
    TellsLast, ///< it is done, and told to be what was known last
    Keeps,     ///< it is done, since it concerns the store alone; that the daemon is not running is told
    TakesUp,   ///< it is done, and taken up when the daemon starts
    NeedsPath  ///< a clip by its name is refused, since which medium is active only the daemon says; by its
               ///< full path it is done
};

/// The one that holds for some actions of a command: what its first word may be.
struct IdleRow
{
    Idle idle;
    const char *actions = ""; ///< separated by blanks; empty: all that no row before has
};

/// One command: a row of the table in commandtable.cpp.
struct CommandRow
{
    const char *group; ///< heading in the help and the manual page, the same for rows that follow each other
    const char *name;
    const char *help; ///< empty: for scripts of ours only, not listed
    std::vector<ArgumentRow> arguments;
    const char *options; ///< names of its options, separated by blanks
    Needs needs;
    ExitCode (*run)(Recorder &recorder, const Report &report, const Arguments &arguments);
    std::vector<IdleRow> idle = {}; ///< none: Works
    /// In place of `run` when it needs nothing.
    ExitCode (*runAlone)(const Report &report, const Arguments &arguments) = nullptr;
    /// In place of both when it is a verb of the recorder.
    const VerbRow *verb = nullptr;

    bool takes(const OptionRow &option) const;
    /// Without a daemon, as it was typed.
    Idle idleWith(const Arguments &arguments) const;
    /// Shared memory, the disk and the daemon's socket are enough for it.
    bool worksWithoutStore() const;
    bool isListed() const { return *help != '\0'; }
};

std::span<const CommandRow> ctlCommands();
std::span<const OptionRow> ctlOptions();
/// Runs a command line; everything that main() does.
int runCommandLine(int argc, char **argv);

// What is (statuscommands.cpp)
ExitCode ctlStatus(Recorder &, const Report &, const Arguments &);
ExitCode ctlReady(Recorder &, const Report &, const Arguments &); // verbcommand.cpp
ExitCode ctlWatch(Recorder &, const Report &, const Arguments &);
ExitCode ctlClips(Recorder &, const Report &, const Arguments &);
ExitCode ctlInfo(Recorder &, const Report &, const Arguments &); // infocommand.cpp
// Alarms (alarmcommands.cpp)
ExitCode ctlAlarms(Recorder &, const Report &, const Arguments &);
// Media (mediacommands.cpp)
ExitCode ctlMedia(Recorder &, const Report &, const Arguments &);
// Takes to come (schedulecommand.cpp)
ExitCode ctlSchedule(Recorder &, const Report &, const Arguments &);
/// The verb of the schedule that a command is with these arguments, which become those of the verb; null: it
/// is none.
const VerbRow *scheduleVerb(const CommandRow &row, Arguments &arguments);
// Parameters (parametercommands.cpp)
ExitCode ctlGet(Recorder &, const Report &, const Arguments &);
ExitCode ctlSet(Recorder &, const Report &, const Arguments &);
ExitCode ctlParams(Recorder &, const Report &, const Arguments &);
ExitCode ctlSettings(Recorder &, const Report &, const Arguments &); // settingscommand.cpp
ExitCode ctlProfile(Recorder &, const Report &, const Arguments &);  // profilecommand.cpp
// The play list (listcommand.cpp)
ExitCode ctlEdl(Recorder &recorder, const Report &report, const Arguments &arguments);
ExitCode ctlList(Recorder &, const Report &, const Arguments &);
// The machine and the figures (doctorcommand.cpp, metricscommands.cpp, picturecommand.cpp)
ExitCode ctlDoctor(const Report &, const Arguments &);
ExitCode ctlFleet(const Report &, const Arguments &);   // fleetcommand.cpp
ExitCode ctlChannel(const Report &, const Arguments &); // channelcommand.cpp
ExitCode ctlMetrics(Recorder &, const Report &, const Arguments &);
ExitCode ctlPicture(Recorder &, const Report &, const Arguments &);
// For shells and readers (completion.cpp, completewords.cpp, manual.cpp)
ExitCode ctlComplete(Recorder &, const Report &, const Arguments &);
/// Whether there are words of this kind to be completed.
bool isCompletionKind(const std::string &name);
ExitCode ctlCompletion(const Report &, const Arguments &);
ExitCode ctlManual(const Report &, const Arguments &);
ExitCode ctlNothing(const Report &, const Arguments &);
