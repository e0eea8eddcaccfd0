// SPDX-License-Identifier: GPL-3.0-or-later
// What shells offer while a command line is being typed: scripts made from the table of commands, and the
// words that only a running recorder knows.
#include "companions/ctl/commands.h"

#include "platform/product/clipfinder.h"

#include <cstdio>

namespace {
void put(const QString &text)
{
    std::fputs(text.toLocal8Bit().constData(), stdout);
}

/// In single quotes, for a shell.
QString quoted(QString text)
{
    return "'" + text.replace("'", "'\\''") + "'";
}

QStringList listedNames()
{
    QStringList names;
    for (const CommandRow &row : ctlCommands()) {
        if (row.isListed()) names << row.name;
    }
    return names;
}

QStringList optionsOf(const CommandRow &row)
{
    QStringList options{"--json", "--help"};
    for (const OptionRow &option : ctlOptions()) {
        if (row.takes(option)) options << QStringLiteral("--%1").arg(option.name);
    }
    return options;
}

/// What `xpctl complete` calls the words for an argument; empty: it has none.
const char *listedKind(const ArgumentRow &argument)
{
    switch (argument.type) {
    case ArgumentRow::Type::Clip:
        return "clips";
    case ArgumentRow::Type::Parameter:
        return "parameters";
    case ArgumentRow::Type::Value:
        return "values";
    case ArgumentRow::Type::Text:
    case ArgumentRow::Type::Choice:
    case ArgumentRow::Type::File:
        break;
    }
    return "";
}

QString choicesOf(const ArgumentRow &argument)
{
    QStringList words;
    for (const char *choice : argument.choices)
        words << QString::fromLatin1(choice);
    return words.join(' ');
}

/// A command that prints the words for an argument, one a line; empty: nothing is known of it. `parameter` is
/// how the script says what stands before it.
QString wordsCommand(const ArgumentRow &argument, const QString &parameter)
{
    if (argument.type == ArgumentRow::Type::Text) return {};
    if (argument.type == ArgumentRow::Type::File) return QStringLiteral("compgen -f -- \"$current\"");
    if (argument.type == ArgumentRow::Type::Choice)
        return QStringLiteral("printf '%s\\n' %1").arg(choicesOf(argument));
    const QString of = argument.type == ArgumentRow::Type::Value ? " " + parameter : QString();
    return QStringLiteral("xpctl complete %1%2 2>/dev/null").arg(listedKind(argument), of);
}

void printBash()
{
    QString cases;
    QString valued;
    for (const OptionRow &option : ctlOptions()) {
        if (*option.value) valued += (valued.isEmpty() ? "--" : "|--") + QString::fromLatin1(option.name);
    }
    for (const CommandRow &row : ctlCommands()) {
        if (!row.isListed()) continue;
        cases += QStringLiteral("        %1:-*) words=%2 ;;\n")
                     .arg(row.name, "'" + optionsOf(row).join('\n') + "'");
        for (size_t i = 0; i < row.arguments.size(); ++i) {
            const QString words = wordsCommand(row.arguments[i], "\"$before\"");
            if (!words.isEmpty())
                cases += QStringLiteral("        %1:%2) words=$(%3) ;;\n").arg(row.name).arg(i).arg(words);
        }
    }
    put(QStringLiteral(R"sh(# Completion of xpctl for bash; made by: xpctl completion bash
_xpctl() {
    local current=${COMP_WORDS[COMP_CWORD]} command='' before='' place=-1 skip='' i words=''
    for ((i = 1; i < COMP_CWORD; i++)); do
        if [ -n "$skip" ]; then skip=''; continue; fi
        case ${COMP_WORDS[i]} in
        %1) skip=yes ;;
        --*) ;;
        *) [ -n "$command" ] && before=${COMP_WORDS[i]}; command=${command:-${COMP_WORDS[i]}}; place=$((place + 1)) ;;
        esac
    done
    COMPREPLY=()
    [ -n "$skip" ] && return
    case $current in -*) place=- ;; esac
    case $command:${place/-1/} in
        :*) words='%2' ;;
%3    esac
    # Names of clips are anybody's: never expanded.
    while IFS= read -r i; do
        [[ $i == "$current"* ]] && COMPREPLY+=("$(printf %q "$i")")
    done <<<"$words"
}
complete -F _xpctl xpctl
)sh")
            .arg(valued,
                 (listedNames() << "--json"
                                << "--help")
                     .join('\n'),
                 cases));
}

/// One word of zsh's _arguments for an argument.
QString zshArgument(const ArgumentRow &argument, size_t place)
{
    QString action = " ";
    if (argument.type == ArgumentRow::Type::File) {
        action = "_files";
    } else if (argument.type == ArgumentRow::Type::Choice) {
        action = "(" + choicesOf(argument) + ")";
    } else if (*listedKind(argument)) {
        const char *of = argument.type == ArgumentRow::Type::Value ? " $words[2]" : "";
        action = QStringLiteral("{compadd -- ${(f)\"$(xpctl complete %1%2 2>/dev/null)\"}}")
                     .arg(listedKind(argument), of);
    }
    return QStringLiteral("'%1%2:%3:%4'")
        .arg(place + 1)
        .arg(argument.required ? "" : ":", QString::fromLatin1(argument.name), action);
}

void printZsh()
{
    QString names;
    QString cases;
    for (const CommandRow &row : ctlCommands()) {
        if (!row.isListed()) continue;
        names += QStringLiteral("        %1\n")
                     .arg(quoted(QString::fromLatin1(row.name) + ":" + QString::fromUtf8(row.help)));
        QStringList words{"'--json[results as JSON]'"};
        for (const OptionRow &option : ctlOptions()) {
            if (!row.takes(option)) continue;
            const QString value = *option.value ? ":" + QString::fromLatin1(option.value) + ": " : QString();
            words << quoted(QStringLiteral("--%1[%2]%3").arg(option.name, option.help, value));
        }
        for (size_t i = 0; i < row.arguments.size(); ++i)
            words << zshArgument(row.arguments[i], i);
        cases += QStringLiteral("        %1) _arguments %2 ;;\n").arg(row.name, words.join(' '));
    }
    put(QStringLiteral(R"sh(#compdef xpctl
# Completion of xpctl for zsh; made by: xpctl completion zsh
_xpctl() {
    local state line
    local -a commands
    commands=(
%1    )
    _arguments -C '--json[results as JSON]' '--help[what there is]' '1:command:->command' '*::argument:->argument'
    case $state in
    command) _describe -t commands command commands ;;
    argument)
        case $words[1] in
%2        esac ;;
    esac
}
if [ "$funcstack[1]" = _xpctl ]; then _xpctl "$@"; else compdef _xpctl xpctl; fi
)sh")
            .arg(names, cases));
}
} // namespace

ExitCode ctlCompletion(const Report &, const Arguments &arguments)
{
    if (arguments.word(0) == "bash")
        printBash();
    else
        printZsh();
    return ExitCode::Done;
}

ExitCode ctlComplete(Recorder &recorder, const Report &, const Arguments &arguments)
{
    const std::string kind = arguments.word(0);
    if (kind == "parameters") {
        for (const ParamDescriptor *descriptor : AllDescriptors()) {
            if (!descriptor->isAlarm()) std::puts(descriptor->name().c_str());
        }
    } else if (kind == "values") {
        const ParamDescriptor *descriptor = FindDescriptor(arguments.word(1));
        const auto values = descriptor ? descriptor->values() : decltype(descriptor->values())();
        for (const auto &[value, label] : values)
            std::puts(label.c_str());
    } else if (kind == "clips") {
        ClipFinder finder(&recorder.config());
        for (const Clip &clip : finder.findClips(true, false, true))
            std::puts(clip.getName().c_str());
    }
    return ExitCode::Done;
}
