// SPDX-License-Identifier: GPL-3.0-or-later
// `./xp run` as somebody sees it who has just unpacked the sources, in a checkout of its own.
#include "tests/support/print.h"
#include "tests/support/testfiles.h"

#include <gtest/gtest.h>

TEST(Run, makesAFirstTakeAndStaysUpForOthersToEnter)
{
    const QTemporaryDir checkout;
    const ProgramResult result =
        runProgram("env",
                   {"XP_ROOT=" + checkout.path(), QStringLiteral("XP_BUILD=" XP_BUILD),
                    QStringLiteral("SOURCE=" XP_ROOT), "bash", "-euc", R"sh(
        cd $XP_ROOT; ln -s $SOURCE/scripts scripts
        enter() { scripts/enter.sh "$@"; }
        status=0; enter xpctl status 2>&1 || status=$?; echo "nobody: $status"
        scripts/run.sh >out 2>err & running=$!
        trap 'kill $running 2>/dev/null || true' EXIT
        tries=0
        until grep -qs 'The recorder is up' err; do
            tries=$((tries + 1)); [ $tries -lt 2400 ] && kill -0 $running || { cat out err >&2; exit 9; }
            read -rt 0.05 <> <(:) || true
        done
        status=0; scripts/run.sh 2>&1 || status=$?; echo "second: $status"
        enter xpctl record --for 1; enter xpctl clips
        kill $running; wait $running || true
        ls run/clips
    )sh"},
                   300000);
    EXPECT_EQ(result.status, 0) << result.err.toStdString() << result.out.toStdString();
    for (const char *line : {"xp: no recorder is up; start one with ./xp run", "nobody: 1", "second: 1",
                             "take_001.mov", "take_002.mov"}) {
        EXPECT_TRUE(result.out.contains(QByteArray(line) + "\n")) << line << "\n" << result.out.toStdString();
    }
    EXPECT_TRUE(result.out.contains(" frames into /media/A/take_002.mov\n"));
    EXPECT_TRUE(result.out.contains("a recorder is already up in this checkout"));
}
