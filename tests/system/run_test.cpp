// SPDX-License-Identifier: GPL-3.0-or-later
// `./xp run` as somebody sees it who has just unpacked the sources, in a checkout of its own.
#include "tests/support/print.h"
#include "tests/support/testfiles.h"

#include <QRegularExpression>

#include <gtest/gtest.h>

#include <string>

#include <sys/stat.h>
#include <unistd.h>

/// An account, by number.
class Run : public testing::TestWithParam<int>
{};

TEST_P(Run, makesAFirstTakeStaysUpAndKeepsWhatIsRecordedWhenAllOfItIsKilled)
{
    const bool isRoot = geteuid() == 0;
    if (!isRoot && GetParam() == 0) GTEST_SKIP() << "this account is an ordinary one";
    const QTemporaryDir checkout;
    ASSERT_EQ(chmod(checkout.path().toLocal8Bit().constData(), 0777), 0); // a named account, not only root
    const QString account = QString::number(isRoot ? GetParam() : int(geteuid()));
    const QStringList groups = isRoot ? QStringList{"--regid", account, "--clear-groups"} : QStringList{};
    const ProgramResult result = runProgram(
        "setpriv",
        QStringList{"--reuid", account} + groups +
            QStringList{"env", "HOME=/", "XP_ROOT=" + checkout.path(), QStringLiteral("XP_BUILD=" XP_BUILD),
                        QStringLiteral("SOURCE=" XP_ROOT), "bash", "-euc", R"sh(
        cd $XP_ROOT; ln -s $SOURCE/scripts scripts
        enter() { scripts/enter.sh "$@"; }
        status=0; enter xpctl status 2>&1 || status=$?; echo "nobody: $status"
        scripts/run.sh >out 2>err & running=$!
        trap 'kill $running 2>/dev/null || true' EXIT
        await() {
            local end=$((SECONDS + 120))
            until eval "$@"; do
                [ $SECONDS -lt $end ] && kill -0 $running || { echo "never: $*"; cat out err run/xpd.log >&2; exit 9; }
                read -rt 0.05 <> <(:) || true
            done
        }
        await 'grep -qs "The recorder is up" err'
        status=0; scripts/run.sh 2>&1 || status=$?; echo "second: $status"
        enter xpctl record --for 1; enter xpctl clips
        # A take that is interrupted is closed and told before the prompt is back.
        perl -e '$SIG{INT} = "DEFAULT"; setpgrp; exec @ARGV' scripts/enter.sh xpctl record --for 60 >told 2>&1 & taking=$!
        await 'enter xpctl --json status | grep -qE "\"recorded_up_to\":[3-9][0-9]"'
        status=0; kill -INT -- -$taking; wait $taking || status=$?; cat told; echo "interrupted: $status"
        enter xpctl record
        await 'enter xpctl --json status | grep -qE "\"recorded_up_to\":[5-9][0-9]"'
        outer=$(cat run/outer.pid)
        kill -KILL $running $(pgrep -P $outer) $outer
        # (Where process 1 is no init nobody buries it.)
        while grep -qs '^State:\s[^Z]' /proc/$outer/status; do read -rt 0.05 <> <(:) || true; done
        for clip in run/media/A/*.mov; do
            echo "${clip##*/} $(ffprobe -v error -count_packets -select_streams v:0 -show_entries stream=nb_read_packets -of csv=p=0 $clip | tr -d ,)"
        done
    )sh"},
        300000);
    EXPECT_EQ(result.status, 0) << result.err.toStdString() << result.out.toStdString();
    for (const char *line :
         {"xp: no recorder is up; start one with ./xp run", "nobody: 1", "second: 1", "interrupted: 5"}) {
        EXPECT_TRUE(result.out.contains(QByteArray(line) + "\n")) << line << "\n" << result.out.toStdString();
    }
    EXPECT_TRUE(result.out.contains(" frames into /media/A/take_002.mov\n"));
    EXPECT_TRUE(result.out.contains("a recorder is already up in this checkout"));
    const QRegularExpression kept("take_001\\.mov 1[0-9]{2}\ntake_002\\.mov [0-9]{2}\n"
                                  "(take_[0-9]+\\.mov [0-9]{2,}\n){2}$");
    EXPECT_TRUE(kept.match(result.out).hasMatch()) << result.out.toStdString();
}

INSTANTIATE_TEST_SUITE_P(Accounts, Run, testing::Values(0, 65534), [](const auto &row) {
    return row.param == 0 ? std::string("root") : std::string("ordinaryUser");
});
