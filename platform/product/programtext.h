// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <span>
#include <string>

/// The version of the recorder, as all its programs tell it: "0.1.0".
const char *recorderVersion();

/// A line about an option or a file of a program.
struct ProgramTextRow
{
    const char *name; ///< as it is written: "--foreground", "-c CLIP", "/etc/xp/store"
    const char *text; ///< a sentence without its full stop
};

/// What a program that runs beside the operator says of itself, before it does anything.
struct ProgramText
{
    const char *name;
    int section;          ///< of the manual
    const char *summary;  ///< a few words
    const char *synopsis; ///< its arguments
    const char *text;     ///< some sentences; blank lines part them
    std::span<const ProgramTextRow> options;
    std::span<const ProgramTextRow> files;
    const char *seeAlso;

    std::string usage() const;  ///< for --help
    std::string manual() const; ///< for --manual: the page that `man` shows
};

/// Answers --help, --version and --manual on standard output and refuses a long option that has no row, on
/// standard error: the status to end with (0; 2 for the refusal). Nothing: the program begins. Call it first
/// in main(); it starts nothing and touches nothing. Short options are the program's own.
std::optional<int> answerBeforeStart(const ProgramText &text, int argc, char **argv);
