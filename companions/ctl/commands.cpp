// SPDX-License-Identifier: GPL-3.0-or-later
#include "companions/ctl/commands.h"

#include "companions/ctl/fleetsettings.h"
#include "companions/ctl/gang.h"
#include "companions/ctl/nearestname.h"
#include "companions/ctl/parametermarkdown.h"
#include "companions/ctl/verbcommand.h"

#include "platform/control/transportanswers.h"
#include "platform/product/programtext.h"
#include "platform/qmx/core/qmxchannel.h"
#include "platform/qmx/core/qmxplaces.h"

#include <CLI/CLI.hpp>

#include <algorithm>

namespace {
bool isAmong(const std::string &word, const char *words)
{
    return (" " + std::string(words) + " ").find(" " + word + " ") != std::string::npos;
}
} // namespace

Idle CommandRow::idleWith(const Arguments &typed) const
{
    if (needs == Needs::Daemon) return Idle::Refuses;
    for (const IdleRow &row : idle)
        if (!*row.actions || isAmong(typed.word(0), row.actions)) {
            if (row.idle != Idle::NeedsPath) return row.idle;
            for (size_t i = 0; i < arguments.size(); ++i)
                if (arguments[i].type == ArgumentRow::Type::Clip &&
                    typed.word(i).find('/') != std::string::npos)
                    return Idle::Works;
            return Idle::Refuses;
        }
    return Idle::Works;
}

bool CommandRow::worksWithoutStore() const
{
    return run == ctlStatus || run == ctlWatch || run == ctlClips || run == ctlPicture || run == ctlInfo ||
           (verb && verb->has(VerbRow::StopsTake));
}

bool CommandRow::takes(const OptionRow &option) const
{
    return isAmong(option.name, options);
}

namespace {
/// What is to be said of a command that was done without a daemon.
ExitCode withoutDaemon(Idle idle, const Report &report)
{
    if (idle == Idle::TakesUp) report.note("the daemon is not running; it takes this up when it starts");
    if (idle == Idle::Keeps) report.note("the daemon is not running; this was done without it");
    if (idle != Idle::TellsLast) return ExitCode::Done;
    const Answer answer = noDaemon();
    return report.error(ExitCode::NoDaemon, "the daemon is not running; this is what was known last",
                        answer.advice);
}

ExitCode refusedWithoutDaemon(const CommandRow &row, const Report &report)
{
    Answer answer = noDaemon();
    if (!row.idle.empty() && row.idle.front().idle == Idle::NeedsPath)
        answer.advice += QStringLiteral("; a clip can be given by its full path, too");
    return tell(report, answer);
}

/// Empty, or which word is none of those that may stand there.
QString wrongChoice(const CommandRow &row, const Arguments &arguments)
{
    for (size_t i = 0; i < row.arguments.size(); ++i) {
        const auto &choices = row.arguments[i].choices;
        const std::string word = arguments.word(i);
        if (choices.empty() || word.empty() ||
            std::find(choices.begin(), choices.end(), word) != choices.end())
            continue;
        QStringList names;
        for (const char *choice : choices)
            names << QString::fromLatin1(choice);
        return QStringLiteral("'%1' is none of %2").arg(QString::fromStdString(word), names.join(", "));
    }
    return {};
}

ExitCode runCommand(const CommandRow &row, const Report &report, const Arguments &arguments)
{
    if (arguments.markdown) { // says the same on every machine: no recorder is needed
        const QString text = row.run == ctlAlarms ? alarmsAsMarkdown() : parametersAsMarkdown();
        report.result(text, {{"markdown", text}});
        return ExitCode::Done;
    }
    if (const QString wrong = wrongChoice(row, arguments); !wrong.isEmpty())
        return report.error(ExitCode::Usage, wrong,
                            QStringLiteral("`xpctl help %1` shows how it is used").arg(row.name));
    if (row.runAlone) return row.runAlone(report, arguments);
    Control control("xpctl");
    Recorder &recorder = control.recorder();
    const QString problem = recorder.storeProblem();
    if (!problem.isEmpty() && !(recorder.hasStore() && row.worksWithoutStore()))
        return report.error(ExitCode::NoStore, problem);
    Arguments planned = arguments;
    const VerbRow *plan = scheduleVerb(row, planned);
    // (Settings of another recorder are no concern of the daemon here.)
    const bool isIdle = recorder.environment().places->recorder.isEmpty() && !recorder.daemonIsRunning();
    const Idle idle = isIdle && !plan ? row.idleWith(arguments) : Idle::Works;
    if (idle == Idle::Refuses) return refusedWithoutDaemon(row, report);
    Recorder::catchInterrupt();
    if (plan) return runVerb(control, *plan, report, planned);
    if (row.verb) return runVerb(control, *row.verb, report, arguments);
    const ExitCode code = row.run(recorder, report, arguments);
    return code == ExitCode::Done ? withoutDaemon(idle, report) : code;
}

/// What stands before or behind any command.
constexpr std::string_view programOptions[] = {"--json",        "--help",     "--version",
                                               "--channel",     "--channels", "--all",
                                               "--best-effort", "--recorder", "--recorders"};

/// The words of a command without those that say for whom it is.
QStringList forOne(const std::vector<std::string> &words)
{
    QStringList rest;
    for (size_t i = 0; i < words.size(); ++i) {
        const QString word = QString::fromStdString(words[i]);
        if (word == "--channel" || word == "--channels" || word == "--recorder" || word == "--recorders")
            ++i;
        else if (word != "--all" && word != "--best-effort" && word != "--json" &&
                 !word.startsWith("--channels=") && !word.startsWith("--channel=") &&
                 !word.startsWith("--recorder=") && !word.startsWith("--recorders="))
            rest.append(word);
    }
    return rest;
}

QString noSuchCommand(const std::string &name)
{
    const QString unknown = QStringLiteral("there is no command '%1'").arg(QString::fromStdString(name));
    std::vector<std::string> names;
    for (const CommandRow &one : ctlCommands())
        if (one.isListed()) names.emplace_back(one.name);
    const QString near = nearestName(name, names);
    return near.isEmpty() ? unknown : unknown + QStringLiteral("; did you mean %1?").arg(near);
}

/// What is wrong with the words, where the parser would only say that something is.
QString mistakeIn(const std::vector<std::string> &words, const CLI::ParseError &error)
{
    const auto isOption = [](const std::string &word) { return word.starts_with('-'); };
    const auto name = std::find_if_not(words.begin(), words.end(), isOption);
    if (name == words.end()) {
        const auto unknown = std::find_if(words.begin(), words.end(), [](const std::string &word) {
            return std::find(std::begin(programOptions), std::end(programOptions), word) ==
                   std::end(programOptions);
        });
        return unknown == words.end()
                   ? QStringLiteral("a command is missing")
                   : QStringLiteral("xpctl has no option %1").arg(QString::fromStdString(*unknown));
    }
    const auto rows = ctlCommands();
    const auto row =
        std::find_if(rows.begin(), rows.end(), [&name](const CommandRow &one) { return one.name == *name; });
    if (row == rows.end()) return noSuchCommand(*name);
    for (const std::string &word : words) {
        const std::string option = word.substr(0, word.find('='));
        const bool isKnown =
            std::find(std::begin(programOptions), std::end(programOptions), option) !=
                std::end(programOptions) ||
            std::any_of(ctlOptions().begin(), ctlOptions().end(), [&](const OptionRow &known) {
                return row->takes(known) && option == std::string("--") + known.name;
            });
        if (option.starts_with("--") && !isKnown)
            return QStringLiteral("%1 has no option %2")
                .arg(QString::fromStdString(*name), QString::fromStdString(option));
    }
    return QString::fromLocal8Bit(error.what());
}

/// The parser of a command line, and what it found.
class CommandLine
{
public:
    CommandLine();
    /// What is typed, without the program's name; the exit status.
    ExitCode run(std::vector<std::string> words);

private:
    void addProgramOptions();
    void addCommand(const CommandRow &row);
    ExitCode runParsed(const std::vector<std::string> &words) const;

    CLI::App _app{"xpctl: the recorder's command line", "xpctl"};
    Arguments _arguments;
    const CommandRow *_chosen = nullptr;
    bool _json = false;
    bool _isForAll = false;
    bool _bestEffort = false;
    std::string _channel;
    std::string _gang;
    std::string _recorder;
    std::string _recorders;
};

CommandLine::CommandLine()
{
    addProgramOptions();
    _app.require_subcommand(1);
    _app.fallthrough();
    // A negative number is an argument, not an option.
    _app.allow_windows_style_options(false);
    // The parser keeps references to the words: their place must not move.
    constexpr size_t mostArguments = 3;
    _arguments.words.resize(mostArguments);
    for (const CommandRow &row : ctlCommands())
        addCommand(row);
    // Behind the commands, which would take them over.
    _app.get_formatter()->label("SUBCOMMAND", "COMMAND");
    _app.footer("`xpctl help COMMAND` shows how one is used; `man xpctl` has them all, and the exit codes.");
}

void CommandLine::addProgramOptions()
{
    _app.set_version_flag("--version", std::string("xpctl ") + recorderVersion(), "which version this is");
    _app.add_flag("--json", _json, "results as one JSON object a line");
    _app.add_option("--channel", _channel, "the recorder of this machine that is meant, of several")
        ->type_name("N")
        ->envname("XP_CHANNEL");
    _app.add_option("--channels", _gang, "several of them, at the same frame: 1,3")->type_name("N,N");
    _app.add_flag("--all", _isForAll, "all recorders of this machine, at the same frame");
    _app.add_flag("--best-effort", _bestEffort, "with several: those that can, although others cannot");
    _app.add_option("--recorder", _recorder, "settings: of another recorder with settings on the same server")
        ->type_name("NAME")
        ->envname("XP_RECORDER");
    _app.add_option("--recorders", _recorders, "settings: of several of them, or of all")
        ->type_name("NAME,NAME|all");
}

void CommandLine::addCommand(const CommandRow &row)
{
    CLI::App *command = _app.add_subcommand(row.name, row.help);
    command->callback([this, &row] { _chosen = &row; });
    for (size_t i = 0; i < row.arguments.size(); ++i) {
        const ArgumentRow &argument = row.arguments[i];
        CLI::Option *added = argument.isMany
                                 ? command->add_option(argument.name, _arguments.rest, argument.help)
                                 : command->add_option(argument.name, _arguments.words[i], argument.help);
        added->required(argument.required);
    }
    for (const OptionRow &option : ctlOptions()) {
        if (!row.takes(option)) continue;
        option.add(*command, _arguments);
        CLI::Option *added = command->get_option(std::string("--") + option.name)->description(option.help);
        if (*option.value) added->type_name(option.value);
    }
    command->group(row.group);
}

ExitCode CommandLine::run(std::vector<std::string> words)
{
    // As it is asked for help everywhere: first or last.
    if (!words.empty() && words.front() == "help") {
        words.erase(words.begin());
        words.emplace_back("--help");
    }
    try { // the parser reports by exception; it ends here
        _app.parse(std::vector<std::string>(words.rbegin(), words.rend()));
    } catch (const CLI::ParseError &error) {
        constexpr int helpWanted = 0;
        // (Of a command that there is not the parser would show the help of all.)
        const auto rows = ctlCommands();
        const bool isKnown = words.empty() || words.front().starts_with('-') ||
                             std::any_of(rows.begin(), rows.end(), [&words](const CommandRow &row) {
                                 return row.name == words.front();
                             });
        if (isKnown && error.get_exit_code() == helpWanted) {
            _app.exit(error);
            return ExitCode::Done;
        }
        // What stands behind the mistake has not been parsed.
        const bool wantsJson = std::find(words.begin(), words.end(), "--json") != words.end();
        return Report(wantsJson).error(ExitCode::Usage, mistakeIn(words, error),
                                       "`xpctl help` lists the commands, `xpctl help COMMAND` shows how one "
                                       "is used");
    }
    if (!_chosen->arguments.empty() && _chosen->arguments.back().isMany) {
        _arguments.words.resize(_chosen->arguments.size() - 1);
        _arguments.words.insert(_arguments.words.end(), _arguments.rest.begin(), _arguments.rest.end());
    }
    return runParsed(words);
}

/// For the recorders that are meant.
ExitCode CommandLine::runParsed(const std::vector<std::string> &words) const
{
    const Report report(_json);
    // (Of a script whose variable is not set.)
    for (const char *option : {"--channel", "--channels", "--recorder", "--recorders"})
        if (_app.count(option) > 0 && _app.get_option(option)->as<std::string>().empty())
            return report.error(ExitCode::Usage, QStringLiteral("%1 says none").arg(QLatin1String(option)));
    if (_isForAll || !_gang.empty()) {
        QString problem;
        const auto channels =
            QmxChannel::parseList(_isForAll ? QStringLiteral("all") : QString::fromStdString(_gang), problem);
        if (!channels) return report.error(ExitCode::Usage, problem);
        return Gang(*channels, forOne(words), _bestEffort, report).run(*_chosen, _arguments);
    }
    if (!_recorders.empty())
        return FleetSettings::run(QString::fromStdString(_recorders), *_chosen, forOne(words), report);
    if (const QString problem = QmxChannel::enter(QString::fromStdString(_channel)); !problem.isEmpty())
        return report.error(ExitCode::Usage, problem);
    if (!_recorder.empty())
        if (const QString problem = FleetSettings::enter(QString::fromStdString(_recorder), *_chosen);
            !problem.isEmpty())
            return report.error(ExitCode::Usage, problem);
    return runCommand(*_chosen, report, _arguments);
}
} // namespace

int runCommandLine(int argc, char **argv)
{
    return int(CommandLine().run({argv + std::min(argc, 1), argv + argc}));
}
