// SPDX-License-Identifier: GPL-3.0-or-later
#include "companions/panel/commands.h"

#include "companions/panel/server.h"
#include "companions/panel/tls.h"
#include "platform/qmx/core/qmxchannel.h"
#include "platform/qmx/core/qmxenvironment.h"
#include "platform/qmx/core/qmxlog.h"
#include "platform/qmx/core/qmxplaces.h"
#include "platform/qmx/core/qmxsafefile.h"
#include "platform/qmx/core/qmxsafefolder.h"
#include "platform/qmx/core/qmxthreads.h"

#include <CLI/CLI.hpp>

#include <QFile>
#include <QFileInfo>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <iostream>
#include <thread>

#include <termios.h>
#include <unistd.h>

namespace {
constexpr int usage = 2;

int fail(const QString &text, int status = 1)
{
    std::fprintf(stderr, "xppanel: %s\n", text.toLocal8Bit().constData());
    return status;
}

QmxPlaces places()
{
    return *QmxEnvironment::current().places;
}

struct Given
{
    std::string channel;
    std::string listen = "127.0.0.1:8090";
    std::vector<std::string> hosts;
    std::string certificate, key;
    std::string user, role = "view";
    std::string users = Accounts::defaultPath().toStdString();
    std::vector<std::string> names;
};

/// "ADDRESS:PORT", "[ADDRESS]:PORT"; an error sentence when it is neither.
QString parseListen(const std::string &text, PanelOptions &options)
{
    const QString whole = QString::fromStdString(text);
    const qsizetype colon = whole.lastIndexOf(':');
    bool isNumber = false;
    options.port = whole.mid(colon + 1).toUShort(&isNumber);
    options.address = whole.left(colon);
    if (options.address.startsWith('[') && options.address.endsWith(']'))
        options.address = options.address.mid(1, options.address.size() - 2);
    if (options.address == QLatin1String("localhost")) options.address = "127.0.0.1";
    return colon > 0 && isNumber
               ? QString()
               : QStringLiteral("'%1' is no address and port; for example 127.0.0.1:8090").arg(whole);
}

QString baseAddress(const PanelOptions &options, quint16 port)
{
    const QString host = options.address.contains(':') ? '[' + options.address + ']' : options.address;
    return QStringLiteral("%1://%2:%3/").arg(options.hasTls() ? "https" : "http", host).arg(port);
}

/// Where others find the running panel. Without it, it serves all the same.
void writeAddress(const QString &address)
{
    const QFileInfo file(places().panelAddress);
    if (!QmxSafeFolder(file.path()).replace(file.fileName(), address.toUtf8() + '\n', {.mode = 0644}))
        fail(
            QStringLiteral("%1 cannot be written: %2; other programs do not find this panel. Remove what has "
                           "this name and start xppanel anew")
                .arg(file.filePath(), QString::fromLocal8Bit(std::strerror(errno))));
}

int serve(const Given &given)
{
    PanelOptions options;
    if (const QString problem = parseListen(given.listen, options); !problem.isEmpty())
        return fail(problem, usage);
    for (const std::string &host : given.hosts)
        options.hosts << QString::fromStdString(host);
    options.certificate = QString::fromStdString(given.certificate);
    options.key = QString::fromStdString(given.key);
    if (options.certificate.isEmpty() != options.key.isEmpty())
        return fail("--tls-certificate and --tls-key belong together", usage);
    // Signals come to this thread, which waits for them: all that follow are made with them blocked.
    sigset_t ends;
    sigemptyset(&ends);
    sigaddset(&ends, SIGTERM);
    sigaddset(&ends, SIGINT);
    pthread_sigmask(SIG_BLOCK, &ends, nullptr);
    std::signal(SIGPIPE, SIG_IGN);
    qmxLogOpenDisplay();
    qmxLogSetLevel(3);

    QFile::remove(places().panelAddress); // of a panel that was killed
    Server server;
    Panel panel(options, server.poster(), QString::fromStdString(given.users));
    if (const QString problem = panel.accounts.problem(); !problem.isEmpty()) fail(problem);
    if (!options.isLoopback() && panel.accounts.isEmpty())
        return fail(QStringLiteral("on %1 it listens only when there is an account; make one with: xppanel "
                                   "user add NAME --role operate")
                        .arg(options.address));
    if (const QString problem = panel.access.writeToken(places().panelToken); !problem.isEmpty())
        fail(problem);
    if (const QString problem = server.listen(panel); !problem.isEmpty()) return fail(problem);
    const QString address = baseAddress(options, server.port());
    writeAddress(address);
    std::fprintf(stderr, "xppanel: %s\n", address.toLocal8Bit().constData());
    std::thread serving;
    const QmxError error = QmxEnvironment::current().threads->start(
        QStringLiteral("panel-io"), [&server] { server.run(); }, serving);
    int signal = 0;
    if (error.isError())
        fail(QStringLiteral("it cannot serve: %1").arg(error.toString()));
    else
        sigwait(&ends, &signal);
    server.stop();
    if (serving.joinable()) serving.join();
    panel.workers.reset();
    server.close();
    QFile::remove(places().panelAddress);
    return error.isError() ? 1 : 0;
}

QString readLine(const QString &path)
{
    return QString::fromUtf8(QmxSafeFile::line(path));
}

int printAddress()
{
    const QString address = readLine(places().panelAddress);
    if (address.isEmpty()) return fail("it does not run: start it with: systemctl start xppanel");
    const QString token = readLine(places().panelToken);
    if (token.isEmpty())
        return fail(QStringLiteral("%1 cannot be read: only the group xp may operate; look at %2")
                        .arg(places().panelToken, address));
    std::printf("%s#token=%s\n", address.toUtf8().constData(), token.toUtf8().constData());
    return 0;
}

/// From the terminal without showing it, else a line of standard input.
QString askForPassword(const QString &name)
{
    const bool isTerminal = isatty(STDIN_FILENO) != 0;
    termios before = {};
    if (isTerminal) {
        std::fprintf(stderr, "Password for %s: ", name.toLocal8Bit().constData());
        tcgetattr(STDIN_FILENO, &before);
        termios silent = before;
        silent.c_lflag &= ~tcflag_t(ECHO);
        tcsetattr(STDIN_FILENO, TCSAFLUSH, &silent);
    }
    std::string line;
    std::getline(std::cin, line);
    if (isTerminal) {
        tcsetattr(STDIN_FILENO, TCSAFLUSH, &before);
        std::fprintf(stderr, "\n");
    }
    return QString::fromStdString(line);
}

int report(const QString &problem)
{
    return problem.isEmpty() ? 0 : fail(problem);
}

int addUser(const Given &given)
{
    const auto role = roleNamed(QString::fromStdString(given.role));
    if (!role)
        return fail(QStringLiteral("'%1' is no role: view, operate or engineer")
                        .arg(QString::fromStdString(given.role)),
                    usage);
    Accounts accounts(QString::fromStdString(given.users));
    const QString name = QString::fromStdString(given.user);
    return report(accounts.set(name, *role, askForPassword(name)));
}

int removeUser(const Given &given)
{
    return report(Accounts(QString::fromStdString(given.users)).remove(QString::fromStdString(given.user)));
}

int listUsers(const Given &given)
{
    const Accounts accounts(QString::fromStdString(given.users));
    if (const QString problem = accounts.problem(); !problem.isEmpty()) return fail(problem);
    for (const auto &account : accounts.all())
        std::printf("%-24s %-9s %lld tokens\n", account.name.toUtf8().constData(),
                    roleName(account.role).toLatin1().constData(), (long long)account.tokens.size());
    return 0;
}

int addToken(const Given &given)
{
    QString token;
    const QString problem =
        Accounts(QString::fromStdString(given.users)).addToken(QString::fromStdString(given.user), token);
    if (problem.isEmpty()) std::printf("%s\n", token.toLatin1().constData());
    return report(problem);
}

int makeCertificate(const Given &given)
{
    QStringList names;
    for (const std::string &name : given.names)
        names << QString::fromStdString(name);
    if (names.isEmpty())
        names << "localhost"
              << "127.0.0.1";
    return report(writeCertificate(QString::fromStdString(given.certificate),
                                   QString::fromStdString(given.key), names));
}
} // namespace

int runPanelCommandLine(int argc, char **argv)
{
    CLI::App app("xppanel: the recorder in a browser and over HTTP", "xppanel");
    Given given;
    int (*run)(const Given &) = serve;
    app.add_option("--listen", given.listen, "ADDRESS:PORT; anywhere but on this machine it needs an account")
        ->capture_default_str();
    app.add_option("--host", given.hosts, "a name under which it is reached, beside this machine's own");
    app.add_option("--tls-certificate", given.certificate, "PEM file; with it HTTPS is spoken");
    app.add_option("--tls-key", given.key, "PEM file of its key");
    app.add_option("--users", given.users, "file of the accounts")->capture_default_str();
    app.add_option("--channel", given.channel, "the recorder of this machine that it shows, of several")
        ->envname("XP_CHANNEL");
    app.add_subcommand("open", "print the address with the token that operating needs")->callback([&run] {
        run = [](const Given &) { return printAddress(); };
    });
    CLI::App *user =
        app.add_subcommand("user", "accounts for others than this machine's group")->require_subcommand(1);
    CLI::App *add = user->add_subcommand(
        "add", "make an account, or change its role and password; the password is asked for");
    add->add_option("NAME", given.user)->required();
    add->add_option("--role", given.role, "view, operate or engineer")->capture_default_str();
    add->callback([&run] { run = addUser; });
    CLI::App *remove = user->add_subcommand("remove", "remove an account with its tokens");
    remove->add_option("NAME", given.user)->required();
    remove->callback([&run] { run = removeUser; });
    user->add_subcommand("list", "list the accounts")->callback([&run] { run = listUsers; });
    CLI::App *token = user->add_subcommand("token", "print a new token of an account, for a program");
    token->add_option("NAME", given.user)->required();
    token->callback([&run] { run = addToken; });
    CLI::App *certificate =
        app.add_subcommand("certificate", "make a certificate that this machine signs itself");
    certificate->add_option("CERTIFICATE", given.certificate, "file to write")->required();
    certificate->add_option("KEY", given.key, "file to write, for its owner alone")->required();
    certificate->add_option("NAME", given.names, "names and addresses of this machine");
    certificate->callback([&run] { run = makeCertificate; });
    try { // the parser reports by exception; it ends here
        app.parse(argc, argv);
    } catch (const CLI::ParseError &error) {
        return app.exit(error) == 0 ? 0 : usage;
    }
    if (const QString problem = QmxChannel::enter(QString::fromStdString(given.channel)); !problem.isEmpty())
        return fail(problem, usage);
    return run(given);
}
