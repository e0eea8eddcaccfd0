// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "companions/ctl/recorder.h"
#include "companions/ctl/report.h"

#include <span>
#include <string>
#include <vector>

/// What stands behind the name of a command, as typed.
struct Arguments
{
    std::vector<std::string> words; ///< in the order of the row's arguments; missing optional ones are empty
    bool wait = true;               ///< false: --no-wait
    bool untilDone = false;         ///< --wait: also until the playback has come to its end
    double seconds = 0;             ///< --for; 0: not given
    bool once = false;              ///< --once
    bool markdown = false;          ///< --markdown

    std::string word(size_t index) const { return index < words.size() ? words[index] : std::string(); }
};

struct ArgumentRow
{
    const char *name;
    const char *help;
    bool required;
};

/// One command: a row of the table in commands.cpp.
struct CommandRow
{
    const char *name;
    const char *help;
    std::vector<ArgumentRow> arguments;
    const char *options; ///< which of "for", "wait", "once", "markdown" it takes, separated by blanks
    bool needsDaemon;
    ExitCode (*run)(Recorder &recorder, const Report &report, const Arguments &arguments);
};

std::span<const CommandRow> ctlCommands();
/// Runs a command line; everything that main() does.
int runCommandLine(int argc, char **argv);

// Transport (transportcommands.cpp)
ExitCode ctlRecord(Recorder &, const Report &, const Arguments &);
ExitCode ctlPlay(Recorder &, const Report &, const Arguments &);
ExitCode ctlStill(Recorder &, const Report &, const Arguments &);
ExitCode ctlStop(Recorder &, const Report &, const Arguments &);
ExitCode ctlStep(Recorder &, const Report &, const Arguments &);
ExitCode ctlCue(Recorder &, const Report &, const Arguments &);
ExitCode ctlNext(Recorder &, const Report &, const Arguments &);
ExitCode ctlPrevious(Recorder &, const Report &, const Arguments &);
ExitCode ctlClip(Recorder &, const Report &, const Arguments &);
ExitCode ctlShutDown(Recorder &, const Report &, const Arguments &);
// What is (statuscommands.cpp)
ExitCode ctlStatus(Recorder &, const Report &, const Arguments &);
ExitCode ctlWatch(Recorder &, const Report &, const Arguments &);
ExitCode ctlClips(Recorder &, const Report &, const Arguments &);
ExitCode ctlAlarms(Recorder &, const Report &, const Arguments &);
// Parameters (parametercommands.cpp)
ExitCode ctlGet(Recorder &, const Report &, const Arguments &);
ExitCode ctlSet(Recorder &, const Report &, const Arguments &);
ExitCode ctlParams(Recorder &, const Report &, const Arguments &);
