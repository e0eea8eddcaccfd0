// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QJsonObject>
#include <QString>

#include <cstdio>
#include <span>

/// Why a command ended, and what a script sees of it.
enum class ExitCode : int {
    Done = 0,
    Refused = 1,     ///< the recorder said no, or the effect did not come
    Usage = 2,       ///< the command line makes no sense
    NoDaemon = 3,    ///< nobody is there to do it
    NoStore = 4,     ///< the configuration store cannot be reached
    Interrupted = 5, ///< Ctrl-C before the effect
};

struct ExitCodeRow
{
    ExitCode code;
    const char *meaning; ///< for the manual page
};
std::span<const ExitCodeRow> exitCodes();

/// What a command has to say: text for people, or one JSON object (--json) for scripts.
///
/// Results go to standard output, errors to standard error; with --json an error is an object too, with the
/// fields "error" and "hint". Field names are stable. Colours are for terminals only.
class Report
{
public:
    enum class Colour { Good, Notice, Bad };

    explicit Report(bool json) : _json(json) {}

    bool isJson() const { return _json; }
    /// The text in that colour when it goes to a terminal that wants colours, else as it is.
    static QString painted(const QString &text, Colour colour, FILE *to = stdout);
    /// A result: `text` for people, `object` for scripts.
    void result(const QString &text, const QJsonObject &object) const;
    /// What is wrong and what to do about it.
    ExitCode error(ExitCode code, const QString &what, const QString &hint = {}) const;
    /// What somebody should know beside the result; nothing is wrong with that. Not for scripts.
    void note(const QString &what) const;
    /// Rewrites the status line of a terminal; elsewhere a line of its own each time. A result or an error
    /// takes its place.
    void line(const QString &text, const QJsonObject &object) const;
    /// Replaces what a terminal shows; elsewhere as line().
    void page(const QString &text, const QJsonObject &object) const;

    /// No more lines come: what line() showed last stays, or goes.
    void endLine(bool keeps = true) const;

private:
    bool _json;
    mutable bool _lineIsOpen = false; ///< the cursor of a terminal stands in it
};
