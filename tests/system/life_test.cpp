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

TEST(Life, sharedMemoryThatIsFullOrOfAnotherAccountCostsNoTake)
{
    Sandbox sandbox({"--no-daemon", "--no-mediad"});
    const ProgramResult result = sandbox.run(R"sh(
        [ "$(awk '{print $3; exit}' /proc/self/uid_map)" != 1 ] || { echo "one account only"; exit 0; }
        chown 990:990 /var/lib/xp /run/xp /media/A /media/B; chmod 3770 /var/lib/xp; chmod 1775 /run/xp
        as() { setpriv --reuid $1 --regid $1 --clear-groups --inh-caps=-all --bounding-set=-all "${@:2}"; }
        start() { as 990 xpmediad >/run/xp/xpmediad.out 2>&1; as 990 xpd >/run/xp/xpd.out 2>&1 </dev/null; await 'xpctl get transport_status >/dev/null 2>&1'; }
        stop() {
            for lock in xpd xpmediad; do
                pid=$(cat /var/lock/$lock.lock); [ -n "$pid" ] && kill $pid && await "! kill -0 $pid 2>/dev/null"
            done; rm -rf /dev/shm/* /run/xp/*.out
        }
        start; cp -r /dev/shm /run/xp/first; stop; chmod -R a+rX /run/xp/first
        as 65534 bash -c "umask 0; cp /run/xp/first/* /dev/shm; chmod 666 /dev/shm/*"; start
        say taken; stat -c %u /dev/shm/* | sort -u; xpctl record
        before=$(recorded); for file in /run/xp/first/*; do as 65534 truncate -s 0 /dev/shm/${file##*/}; done
        await '[ $(recorded) -gt $((before + 50)) ]'; xpctl stop >/dev/null; xpctl clips; kill -0 $(cat /var/lock/xpmediad.lock)
        say told; grep -o 'xpd_counters belongs to another account (user id 65534)' /run/xp/xpd.out; stop
        mount -o remount,size=1M /dev/shm; dd if=/dev/zero of=/dev/shm/fill bs=4k 2>/dev/null || true
        as 990 xpmediad >/run/xp/xpmediad.out 2>&1 || true; as 990 xpd >/run/xp/xpd.out 2>&1 </dev/null
        say full; await 'grep -q "There are no pictures in full size" /run/xp/xpd.out'; pid=$(cat /var/lock/xpd.lock)
        await '[ "$(xpctl get transport_running)" = on ]'; kill -0 $pid && echo lives; stop
        as 65534 touch /var/lock/other.lock; rm -f /var/lock/xpd.lock; as 65534 mv /var/lock/other.lock /var/lock/xpd.lock
        say lock; as 990 xpd 2>&1 || true
    )sh");
    if (result.out == "one account only\n") GTEST_SKIP() << "other accounts need root";
    EXPECT_TRUE(said(result.out, "taken").startsWith("65534\nrecording /media/A/take_001.mov\n"))
        << result.out.toStdString();
    EXPECT_TRUE(said(result.out, "taken").contains("take_001.mov  "));
    EXPECT_TRUE(said(result.out, "told").contains("65534")) << result.err.toStdString();
    EXPECT_EQ(said(result.out, "full"), "lives\n") << result.err.toStdString();
    EXPECT_TRUE(said(result.out, "lock").contains("xpd.lock belongs to another account (user id 65534)"))
        << result.out.toStdString();
}
