// SPDX-License-Identifier: GPL-3.0-or-later
#include "companions/ctl/report.h"

#include <QJsonDocument>
#include <QRegularExpression>

#include <cstdlib>
#include <cstring>
#include <unistd.h>

namespace {
/// A terminal obeys what stands in names and messages, so of control characters only lines and colours get
/// there.
QString harmless(const QString &text)
{
    // (Those that this program has itself; others hide what follows, or write it backwards.)
    static const QRegularExpression own(QStringLiteral("^\\x1b\\[(?:0|32|33|1;31)m"));
    QString shown = text;
    for (qsizetype i = 0; i < shown.size(); ++i) {
        const QChar character = shown.at(i);
        if (character == u'\n' || character == u'\t' || character.category() != QChar::Other_Control)
            continue;
        const qsizetype length = character == u'\x1b' ? own.match(shown.mid(i, 16)).capturedLength() : 0;
        if (length > 0)
            i += length - 1;
        else
            shown[i] = u'?';
    }
    return shown;
}

/// What this program itself does to the terminal.
void control(const char *sequence)
{
    std::fputs(sequence, stdout);
}

void print(FILE *file, const QString &text)
{
    const QByteArray bytes = harmless(text).toLocal8Bit();
    std::fwrite(bytes.constData(), 1, size_t(bytes.size()), file);
    std::fflush(file);
}

QString compact(const QJsonObject &object)
{
    return QString::fromUtf8(QJsonDocument(object).toJson(QJsonDocument::Compact));
}

bool wantsColours(FILE *file)
{
    const char *terminal = std::getenv("TERM");
    const char *none = std::getenv("NO_COLOR");
    return isatty(fileno(file)) && (!none || !*none) && terminal && std::strcmp(terminal, "dumb") != 0;
}
} // namespace

std::span<const ExitCodeRow> exitCodes()
{
    static constexpr ExitCodeRow rows[] = {
        {ExitCode::Done, "done"},
        {ExitCode::Refused, "the recorder refused, or the effect did not come; the message says why"},
        {ExitCode::Usage, "the command line makes no sense"},
        {ExitCode::NoDaemon, "the daemon is not running, ended meanwhile, or stands still"},
        {ExitCode::NoStore, "the configuration store cannot be reached"},
        {ExitCode::Interrupted, "interrupted before the effect; a take begun with --for has been ended"},
    };
    return rows;
}

QString Report::painted(const QString &text, Colour colour, FILE *to)
{
    static constexpr const char *codes[] = {"32", "33", "1;31"};
    return wantsColours(to) ? QStringLiteral("\x1b[%1m%2\x1b[0m").arg(codes[int(colour)], text) : text;
}

void Report::endLine(bool keeps) const
{
    if (_lineIsOpen) control(keeps ? "\n" : "\r\x1b[K");
    _lineIsOpen = false;
}

void Report::result(const QString &text, const QJsonObject &object) const
{
    endLine(false);
    if (_json) {
        print(stdout, compact(object) + "\n");
    } else if (!text.isEmpty()) {
        print(stdout, text.endsWith('\n') ? text : text + "\n");
    }
}

ExitCode Report::error(ExitCode code, const QString &what, const QString &hint) const
{
    endLine(false);
    if (_json) {
        print(stderr, compact({{"error", what}, {"hint", hint}, {"code", int(code)}}) + "\n");
    } else {
        print(stderr, painted("xpctl:", Colour::Bad, stderr) + " " + what + "\n");
        if (!hint.isEmpty()) {
            print(stderr, "       " + hint + "\n");
        }
    }
    return code;
}

void Report::note(const QString &what) const
{
    endLine(false);
    if (!_json) print(stderr, painted("xpctl:", Colour::Notice, stderr) + " " + what + "\n");
}

void Report::line(const QString &text, const QJsonObject &object) const
{
    if (_json) {
        print(stdout, compact(object) + "\n");
    } else if (isatty(STDOUT_FILENO)) {
        control("\r");
        print(stdout, text);
        control("\x1b[K"); // erase what a longer line left behind
        std::fflush(stdout);
        _lineIsOpen = true;
    } else {
        print(stdout, text + "\n");
    }
}

void Report::page(const QString &text, const QJsonObject &object) const
{
    const bool replaces = !_json && isatty(STDOUT_FILENO);
    if (replaces) control("\x1b[H\x1b[J"); // home, erase below
    result(text, object);
}
