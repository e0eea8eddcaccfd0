// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/product/programtext.h"

#include <algorithm>
#include <cstdio>
#include <string_view>

namespace {
constexpr int usageStatus = 2;

constexpr ProgramTextRow commonOptions[] = {
    {"--help", "says what the program takes, and ends"},
    {"--version", "says which version it is, and ends"},
    {"--manual", "prints its manual page, and ends"},
};

std::string formatted(const char *format, const char *first, const char *second)
{
    std::string text(256, '\0');
    for (int tries = 0; tries < 2; ++tries) {
        const int size = std::snprintf(text.data(), text.size(), format, first, second);
        const bool fits = size < int(text.size());
        text.resize(size_t(std::max(size, 0)) + (fits ? 0 : 1));
        if (fits) break;
    }
    return text;
}

/// Text as roff wants it.
std::string roff(std::string_view text)
{
    std::string safe;
    for (const char c : text) {
        if (c == '\\')
            safe += "\\e";
        else if (c == '-')
            safe += "\\-";
        else
            safe += c;
        // A request begins a line; a blank line is a paragraph.
        if (safe.ends_with("\n\n")) safe.replace(safe.size() - 1, 1, ".PP\n");
    }
    return safe.starts_with('.') || safe.starts_with('\'') ? "\\&" + safe : safe;
}

std::string roffRows(std::span<const ProgramTextRow> rows)
{
    std::string page;
    for (const ProgramTextRow &row : rows)
        page += ".TP\n.B " + roff(row.name) + "\n" + roff(row.text) + "\n";
    return page;
}

/// The option itself, without the name of its value.
std::string_view word(const ProgramTextRow &row)
{
    const std::string_view name = row.name;
    return name.substr(0, name.find_first_of(" ="));
}

bool has(std::span<const ProgramTextRow> rows, std::string_view option)
{
    return std::any_of(rows.begin(), rows.end(), [option](const auto &row) { return word(row) == option; });
}
} // namespace

const char *recorderVersion()
{
    return XP_VERSION;
}

std::string ProgramText::usage() const
{
    std::string page = formatted("usage: %s %s\n\n", name, synopsis) + text + "\n\n";
    for (const auto rows : {options, std::span<const ProgramTextRow>(commonOptions)}) {
        for (const ProgramTextRow &row : rows)
            page += formatted("  %-18s %s\n", row.name, row.text);
    }
    return page;
}

std::string ProgramText::manual() const
{
    std::string title = name;
    std::transform(title.begin(), title.end(), title.begin(),
                   [](char c) { return c >= 'a' && c <= 'z' ? char(c - 'a' + 'A') : c; });
    std::string page = ".TH " + title + " " + std::to_string(section) + " \"\" \"xp recorder\" \"" +
                       (section == 8 ? "System Administration" : "User Commands") + "\"\n";
    page += ".SH NAME\n" + roff(name) + " \\- " + roff(summary) + "\n";
    page += ".SH SYNOPSIS\n.B " + roff(name) + "\n" + roff(synopsis) + "\n";
    page +=
        ".SH DESCRIPTION\n" + roff(text) + "\n.SH OPTIONS\n" + roffRows(options) + roffRows(commonOptions);
    page += ".SH FILES\n" + roffRows(files) + ".SH SEE ALSO\n" + roff(seeAlso) + "\n";
    return page;
}

std::optional<int> answerBeforeStart(const ProgramText &text, int argc, char **argv)
{
    for (int i = 1; i < argc; ++i) {
        const std::string_view argument = argv[i];
        if (argument == "--") break;
        if (!argument.starts_with("--")) continue;
        if (argument == "--help") {
            std::fputs(text.usage().c_str(), stdout);
            return 0;
        }
        if (argument == "--version") {
            std::printf("%s %s\n", text.name, recorderVersion());
            return 0;
        }
        if (argument == "--manual") {
            std::fputs(text.manual().c_str(), stdout);
            return 0;
        }
        if (has(text.options, argument.substr(0, argument.find('=')))) continue;
        std::fprintf(stderr, "%s has no option %s, and was not started; `%s --help` lists them\n", text.name,
                     argv[i], text.name);
        return usageStatus;
    }
    return std::nullopt;
}
