// SPDX-License-Identifier: GPL-3.0-or-later
// The commands in the guides do what the guides say: each block of shell commands is run as it stands.
#include "platform/qmx/edges/qmxgeneratorscript.h"
#include "tests/support/print.h"
#include "tests/system/sandbox.h"

#include <QDir>
#include <QRegularExpression>

#include <cstring>
#include <gtest/gtest.h>
#include <string>

namespace {
/// The blocks of a page that are marked with ```sh, as one script; `count` of them. (Blocks marked ```sh
/// package are run where packages are checked.)
QString commandsOf(const QString &page, int &count)
{
    QString script;
    bool isCommand = false;
    for (const QString &line : QString::fromUtf8(readAll(XP_ROOT "/docs/" + page)).split('\n')) {
        if (line.startsWith("```")) {
            isCommand = !isCommand && line == "```sh";
            count += isCommand ? 1 : 0;
        } else if (isCommand) {
            script += "echo '+ " + QString(line).replace('\'', "'\\''") + "'\n" + line + "\n";
        }
    }
    return script;
}
} // namespace

class Guide : public testing::TestWithParam<const char *>
{};

TEST_P(Guide, everyCommandInItWorks)
{
    int count = 0;
    const QString script = commandsOf(GetParam(), count);
    ASSERT_GE(count, 1) << "no blocks of commands were found";
    Sandbox sandbox({"--net", "private"});
    sandbox.setProfile({}); // as it comes out of the box
    const ProgramResult result = sandbox.run(R"sh(
        mkdir /run/xp/page; cd /run/xp/page
        # The input is there, and on the output.
        await 'xpctl get input_format | grep -q p25 && xpctl picture seen.png >/dev/null && [ $(stat -c %s seen.png) -gt 2000 ]'
        # Nobody types as fast as a script: a take that was begun is left to run for a second.
        xpctl() {
            command xpctl "$@" || return $?
            [ "$*" != record ] || await '[ $(recorded) -ge 25 ]'
        }
    )sh" + script + "cp *.png $OUT 2>/dev/null || true\n");
    for (const QString &picture : {QStringLiteral("input.png"), QStringLiteral("frame.png")}) {
        if (script.contains(picture)) {
            EXPECT_GT(readAll(sandbox.out(picture)).size(), 2000) << picture.toStdString();
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Docs, Guide, testing::Values("operator.md", "engineer.md", "manual.md"),
                         [](const auto &row) {
                             return std::string(row.param, std::strcspn(row.param, "."));
                         });

TEST(Docs, everyKeyOfTheGeneratorIsInTheManual)
{
    QString problem;
    QmxGeneratorScript::fromText("bogus=1", &problem);
    const QStringList keys = problem.section(QStringLiteral("it has "), 1).split(QStringLiteral(", "));
    ASSERT_GT(keys.size(), 10) << problem.toStdString();
    const QByteArray manual = readAll(XP_ROOT "/docs/manual.md");
    for (const QString &key : keys)
        EXPECT_TRUE(manual.contains("`" + key.toUtf8() + "`")) << key.toStdString();
}

TEST(Docs, everyFileThatAPageNamesIsThere)
{
    // In code marks, or the target of a link; a path of this source tree, or a name that stands somewhere in
    // it.
    static const QRegularExpression named(
        R"re(`((?:[a-z_]+/)*[a-z0-9_*-]+\.(?:cpp|h|md|sh|json))`|\]\(([^)#:]+))re");
    const ProgramResult listed = runProgram("git", {"-C", XP_ROOT, "ls-files"});
    const QByteArray files = "\n/" + QByteArray(listed.out).replace("\n", "\n/");
    int count = 0;
    for (const char *folder :
         {"/", "/docs/", "/docs/decisions/", "/packaging/", "/companions/ctl/", "/tests/system/"}) {
        for (const QString &page : QDir(XP_ROOT + QString(folder)).entryList({"*.md"})) {
            auto found = named.globalMatch(QString::fromUtf8(readAll(XP_ROOT + QString(folder) + page)));
            while (found.hasNext()) {
                const QRegularExpressionMatch match = found.next();
                const bool isLink = !match.captured(2).isEmpty();
                const QString name = match.captured(isLink ? 2 : 1);
                ++count;
                const bool isThere = isLink
                                         ? QFile::exists(XP_ROOT + QString(folder) + name)
                                         : name.contains('*') || files.contains("/" + name.toUtf8() + "\n");
                EXPECT_TRUE(isThere) << folder << page.toStdString() << " names " << name.toStdString();
            }
        }
    }
    EXPECT_GT(count, 60);
}
