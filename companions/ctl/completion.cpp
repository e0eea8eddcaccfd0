// SPDX-License-Identifier: GPL-3.0-or-later
// What shells offer while a command line is being typed: scripts made from the table of commands. The words
// that only a running recorder knows are asked for while one types (completewords.cpp).
#include "companions/ctl/commands.h"

#include <cstdio>
#include <span>

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

/// An option that any command has.
struct GlobalOption
{
    const char *name;
    const char *value; ///< what its value is called; empty: it has none
    const char *completes;
    const char *help;
};
constexpr GlobalOption globalOptions[] = {
    {"json", "", "", "results as JSON"},
    {"help", "", "", "how it is used"},
    {"channel", "N", "@channels", "the recorder that is meant, of several"},
    {"channels", "N,N", "@channels", "several of them, at the same frame"},
    {"all", "", "", "all recorders of this machine, at the same frame"},
    {"best-effort", "", "", "with several: those that can"},
    {"recorder", "NAME", "", "settings: of another recorder with settings on the same server"},
    {"recorders", "NAMES", "all", "settings: of several of them, or of all"},
};

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
    QStringList options;
    for (const GlobalOption &option : globalOptions)
        options << QStringLiteral("--%1").arg(option.name);
    for (const OptionRow &option : ctlOptions()) {
        const QString name = QStringLiteral("--%1").arg(option.name);
        if (row.takes(option) && !options.contains(name)) options << name;
    }
    return options;
}

/// What a shell offers for an argument, for the helper of a script.
QString wordsOf(const ArgumentRow &argument)
{
    struct Row
    {
        ArgumentRow::Type type;
        const char *words;
    };
    static constexpr Row rows[] = {{ArgumentRow::Type::Clip, "@clips"},
                                   {ArgumentRow::Type::Parameter, "@parameters"},
                                   {ArgumentRow::Type::Value, "@values"},
                                   {ArgumentRow::Type::File, "@files"}};
    QStringList words;
    for (const char *choice : argument.choices)
        words << quoted(QString::fromLatin1(choice));
    QString more = QString::fromLatin1(argument.completes);
    for (const Row &row : rows)
        if (more.isEmpty() && row.type == argument.type) more = QString::fromLatin1(row.words);
    for (const QString &word : more.split(' ', Qt::SkipEmptyParts))
        words << quoted(word);
    return words.join(' ');
}

void printBash()
{
    QString cases;
    QString valued;
    QStringList everywhere{"--version"};
    for (const GlobalOption &option : globalOptions) {
        everywhere << QStringLiteral("--%1").arg(option.name);
        if (*option.value) valued += (valued.isEmpty() ? "--" : "|--") + QString::fromLatin1(option.name);
    }
    for (const OptionRow &option : ctlOptions())
        if (*option.value) valued += "|--" + QString::fromLatin1(option.name);
    for (const CommandRow &row : ctlCommands()) {
        if (!row.isListed()) continue;
        cases += QStringLiteral("        %1:-*) words=%2 ;;\n")
                     .arg(row.name, "'" + optionsOf(row).join('\n') + "'");
        for (size_t i = 0; i < row.arguments.size(); ++i)
            if (const QString words = wordsOf(row.arguments[i]); !words.isEmpty())
                cases += QStringLiteral("        %1:%2) words=$(_xpctl_words %3) ;;\n")
                             .arg(row.name, row.arguments[i].isMany ? "*" : QString::number(i), words);
    }
    put(QStringLiteral(R"sh(# Completion of xpctl for bash; made by: xpctl completion bash
# Words as they are, those that a recorder knows (@clips), names of files (@files).
_xpctl_words() {
    local one found
    for one in "$@"; do
        case $one in
        @files) compgen -f -- "$current" ;;
        @*)
            found=$(xpctl ${channel:+--channel "$channel"} complete "${one#@}" "$first" 2>/dev/null)
            if [ "$found" = @files ]; then compgen -f -- "$current"; else printf '%s\n' "$found"; fi ;;
        *) printf '%s\n' "$one" ;;
        esac
    done
}
_xpctl() {
    local current=${COMP_WORDS[COMP_CWORD]} command='' first='' channel='' place=-1 skip='' i words=''
    for ((i = 1; i < COMP_CWORD; i++)); do
        if [ -n "$skip" ]; then
            [ "$skip" != --channel ] || channel=${COMP_WORDS[i]}
            skip=''
            continue
        fi
        case ${COMP_WORDS[i]} in
        %1) skip=${COMP_WORDS[i]} ;;
        --*) ;;
        *) [ -n "$command" ] && first=${first:-${COMP_WORDS[i]}}; command=${command:-${COMP_WORDS[i]}}; place=$((place + 1)) ;;
        esac
    done
    COMPREPLY=()
    case $current in -*) place=- ;; esac
    if [ -n "$skip" ]; then
        case $skip in
        --channel|--channels) words=$(channel='' _xpctl_words @channels) ;;
        --recorders) words=all ;;
        *) return ;;
        esac
    else
        case $command:${place/-1/} in
        :-*) words='%2' ;;
        :*) words='%3' ;;
%4        esac
    fi
    # Names of clips are anybody's: never expanded.
    while IFS= read -r i; do
        [[ -n $i && $i == "$current"* ]] && COMPREPLY+=("$(printf %q "$i")")
    done <<<"$words"
}
complete -F _xpctl xpctl
)sh")
            .arg(valued, everywhere.join('\n'), listedNames().join('\n'), cases));
}

/// One word of zsh's _arguments for an argument.
QString zshArgument(const ArgumentRow &argument, size_t place)
{
    const QString words = wordsOf(argument).remove('\''); // (none of them needs quotes)
    const QString action = words.isEmpty() ? QStringLiteral(" ") : "{_xpctl_words " + words + "}";
    const QString name = QString::fromLatin1(argument.name);
    if (argument.isMany) return QStringLiteral("'*:%1:%2'").arg(name, action);
    return QStringLiteral("'%1%2:%3:%4'").arg(place + 1).arg(argument.required ? "" : ":", name, action);
}

QStringList zshGlobalOptions()
{
    QStringList words;
    for (const GlobalOption &option : globalOptions) {
        const QString value = *option.value
                                  ? QStringLiteral(":%1:{_xpctl_words %2}")
                                        .arg(QLatin1String(option.value), QLatin1String(option.completes))
                                  : QString();
        words << quoted(QStringLiteral("--%1[%2]%3").arg(option.name, option.help, value));
    }
    return words;
}

void printZsh()
{
    QString names;
    QString cases;
    const QStringList global = zshGlobalOptions();
    for (const CommandRow &row : ctlCommands()) {
        if (!row.isListed()) continue;
        names += QStringLiteral("        %1\n")
                     .arg(quoted(QString::fromLatin1(row.name) + ":" + QString::fromUtf8(row.help)));
        QStringList words = global;
        for (const OptionRow &option : ctlOptions()) {
            const QString begin = QStringLiteral("'--%1[").arg(option.name);
            if (!row.takes(option)) continue;
            const QString value = *option.value ? ":" + QString::fromLatin1(option.value) + ": " : QString();
            words.removeIf([&begin](const QString &word) { return word.startsWith(begin); });
            words << quoted(QStringLiteral("--%1[%2]%3").arg(option.name, option.help, value));
        }
        for (size_t i = 0; i < row.arguments.size(); ++i)
            words << zshArgument(row.arguments[i], i);
        cases += QStringLiteral("        %1) _arguments %2 ;;\n").arg(row.name, words.join(' '));
    }
    put(QStringLiteral(R"sh(#compdef xpctl
# Completion of xpctl for zsh; made by: xpctl completion zsh
# Words as they are, those that a recorder knows (@clips), names of files (@files).
_xpctl_words() {
    local one
    local -a found
    for one in "$@"; do
        case $one in
        @files) _files ;;
        @*)
            found=(${(f)"$(xpctl ${channel:+--channel} $channel complete ${one#@} "$words[2]" 2>/dev/null)"})
            if [[ "$found" = @files ]]; then _files; else compadd -- $found; fi ;;
        *) compadd -- $one ;;
        esac
    done
}
_xpctl() {
    local state line channel
    local -a commands
    local -A opt_args
    commands=(
%1    )
    _arguments -C %2 '--version[which version this is]' '1:command:->command' '*::argument:->argument'
    channel=$opt_args[--channel]
    case $state in
    command) _describe -t commands command commands ;;
    argument)
        case $words[1] in
%3        esac ;;
    esac
}
if [ "$funcstack[1]" = _xpctl ]; then _xpctl "$@"; else compdef _xpctl xpctl; fi
)sh")
            .arg(names, global.join(' '), cases));
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
