// SPDX-License-Identifier: GPL-3.0-or-later
// How the daemon begins and ends, as whoever starts it sees it.
#include "tests/support/print.h"
#include "tests/system/sandbox.h"

#include <gtest/gtest.h>

namespace {
constexpr auto small = "[inputs]\n601=generator:?rate=25&size=720x576&scan=i\n";
/// Waits until the daemon has gone and prints its exit status.
constexpr auto waitForEnd = R"(
    pid=$(cat /run/xp/xpd.pid)
    tries=0
    while kill -0 $pid 2>/dev/null && ! grep -q 'State:.Z' /proc/$pid/status 2>/dev/null; do
        tries=$((tries + 1)); [ $tries -lt 1000 ] || { echo "still there"; exit 9; }
        read -rt 0.02 <> <(:) || true
    done
)";
} // namespace

TEST(Life, aTakeIsClosedWhicheverWayTheDaemonIsTold)
{
    for (const char *end : {"kill -TERM $(cat /run/xp/xpd.pid)", "kill -INT $(cat /run/xp/xpd.pid)",
                            "xpctl set transport_command shut_down"}) {
        SCOPED_TRACE(end);
        Sandbox sandbox;
        sandbox.setProfile(small);
        const ProgramResult result = sandbox.run(
            "xpctl record >&2\n" + QString(end) + waitForEnd +
            "cp /media/A/*.mov $OUT/take.mov; xpctl get transport_status; xpctl get transport_running");
        ASSERT_EQ(result.status, 0) << result.err.toStdString() << result.out.toStdString();
        EXPECT_FALSE(result.err.contains("ended with status")) << result.err.toStdString();
        EXPECT_EQ(result.out, QByteArray("shut_down\noff\n"));
        EXPECT_EQ(brokenAt(stripsOf(sandbox.out("take.mov"))), QString());
        // Closed: an ordinary file, without the fragments of one that is being written.
        const ProgramResult atoms = runProgram("ffprobe", {"-v", "trace", sandbox.out("take.mov")});
        EXPECT_FALSE(atoms.err.contains("type:'mvex'"));
    }
}

TEST(Life, aSecondInstanceIsRefusedAndTheFirstGoesOn)
{
    Sandbox sandbox;
    sandbox.setProfile(small);
    const ProgramResult result = sandbox.run(R"sh(
        xpctl record >&2
        status=0; NOTIFY_SOCKET=/run/xp/other xpd || status=$?
        echo "status $status, holder $(cat /run/xp/xpd.pid)"
        xpctl status
    )sh");
    ASSERT_EQ(result.status, 0) << result.err.toStdString();
    EXPECT_TRUE(result.out.contains("status 1")) << result.out.toStdString();
    EXPECT_TRUE(result.out.contains("recording")) << result.out.toStdString();
    const QByteArray holder = result.out.mid(result.out.indexOf("holder ") + 7).split('\n').first();
    EXPECT_TRUE(result.err.contains("Failed to lock lockfile (/var/lock/xpd.lock).  It looks like process " +
                                    holder + " currently owns it\n"))
        << result.err.toStdString();
}
