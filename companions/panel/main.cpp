// SPDX-License-Identifier: GPL-3.0-or-later
#include "companions/panel/commands.h"
#include "platform/product/programtext.h"

#include <cstring>

namespace {
constexpr ProgramTextRow optionTexts[] = {
    {"--listen ADDRESS:PORT",
     "where it listens; 127.0.0.1:8090 without it, elsewhere only when there is an account"},
    {"--host NAME", "a name under which it is reached, beside this machine's own"},
    {"--tls-certificate FILE --tls-key FILE", "speaks HTTPS with these"},
    {"--users FILE", "where the accounts are"},
    {"open", "prints the address with the token that operating needs"},
    {"user add NAME --role ROLE", "makes an account; roles are view, operate and engineer"},
    {"user remove NAME, user list, user token NAME", "removes one, lists all, prints a token for a program"},
    {"certificate CERTIFICATE KEY NAME ...", "makes a certificate that this machine signs itself"},
};
constexpr ProgramTextRow fileTexts[] = {
    {"/run/xp/panel.token", "the token of this run, for the group that may operate"},
    {"/run/xp/panel.address", "where it listens"},
    {"/var/lib/xppanel/users.json", "the accounts"},
};
constexpr ProgramText text = {
    "xppanel",
    8,
    "the recorder in a browser and over HTTP",
    "[OPTIONS] [COMMAND]",
    "Serves a page that shows and operates the recorder, and an interface for programs. On this machine "
    "everybody may\n"
    "look; operating needs the token, or an account.",
    optionTexts,
    fileTexts,
    "xpd(8), xpctl(1)",
};
} // namespace

int main(int argc, char **argv)
{
    const bool isAboutItself =
        argc == 2 && (std::strcmp(argv[1], "--manual") == 0 || std::strcmp(argv[1], "--version") == 0);
    if (isAboutItself) return answerBeforeStart(text, argc, argv).value_or(0);
    return runPanelCommandLine(argc, argv);
}
