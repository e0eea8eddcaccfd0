// SPDX-License-Identifier: GPL-3.0-or-later
// How the daemon begins and ends, as whoever starts it sees it.
#include "tests/support/print.h"
#include "tests/system/sandbox.h"

#include <gtest/gtest.h>

TEST(Life, aTakeIsClosedWhicheverWayTheDaemonIsToldAndOnlyOneRuns)
{
    for (const char *end : {"kill -TERM $pid", "kill -INT $pid", "xpctl set transport_command shut_down"}) {
        SCOPED_TRACE(end);
        Sandbox sandbox;
        const ProgramResult result = sandbox.run(R"sh(
            pid=$(cat /run/xp/xpd.pid)
            xpctl record >&2
            status=0; NOTIFY_SOCKET=/run/xp/other xpd || status=$?
            echo "second $status, first $(xpctl get transport_status)"
        )sh" + QString(end) + R"sh(
            await "! kill -0 $pid 2>/dev/null || grep -q 'State:.Z' /proc/$pid/status 2>/dev/null"
            cp /media/A/*.mov $OUT/take.mov; cp /run/xp/xpd.pid $OUT
            for name in transport_status transport_running; do xpctl get $name 2>/dev/null || [ $? = 3 ]; done
        )sh");
        EXPECT_FALSE(result.err.contains("ended with status")) << result.err.toStdString();
        EXPECT_EQ(result.out, QByteArray("second 1, first recording\nshut_down\noff\n"));
        EXPECT_TRUE(
            result.err.contains("Failed to lock lockfile (/var/lock/xpd.lock).  It looks like process " +
                                readAll(sandbox.out("xpd.pid")).trimmed() + " currently owns it\n"))
            << result.err.toStdString();
        EXPECT_EQ(brokenAt(stripsOf(sandbox.out("take.mov"))), QString());
        // Closed: an ordinary file, without the fragments of one that is being written.
        const ProgramResult atoms = runProgram("ffprobe", {"-v", "trace", sandbox.out("take.mov")});
        EXPECT_FALSE(atoms.err.contains("type:'mvex'"));
    }
}
