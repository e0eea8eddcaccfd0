// SPDX-License-Identifier: GPL-3.0-or-later
// The daemon in debug mode, driven over TCP and from a terminal.
#include "tests/support/print.h"
#include "tests/system/sandbox.h"

#include <gtest/gtest.h>

namespace {

constexpr auto client = R"sh(
    xpctl set active_media_path /media/A
    dial() { exec 3<>/dev/tcp/127.0.0.1/6502; }
    ask() { printf '%s\n' "$1" >&3; read -r reply <&3; echo "$1: $reply"; }
)sh";
} // namespace

TEST(DebugMode, isDrivenOverTcpWithStandardInputAtItsEnd)
{
    Sandbox sandbox({"--no-daemon", "--net", "private"});
    const ProgramResult result = sandbox.run(QString(client) + R"sh(
        echo 'quiet xpd_log=/run/xp/log=1 xpd_log=/run/xp/other' >/run/xp/cmdline; mount --bind /run/xp/cmdline /proc/cmdline
        xpd -D -d -s </dev/null >/run/xp/xpd.out 2>&1 & daemon=$!
        await is input_format 576i25
        dial; printf 'mem\nquit\n' >&3; echo "mem: $(grep -c ' : [0-9]*$' <&3)"
        dial
        ask status; ask record; await is transport_status recording
        await 'ask status | grep -q " Record  "'
        await '[ "$(xpctl --json status | sed -E "s/.*\"recorded_up_to\":([0-9]+).*/\1/")" -ge 20 ]'
        ask stop; await is transport_status stopped; await 'xpctl clips | grep -q take_001'
        ask '  play   -2  x '; ask still; await is transport_status still
        await 'ask "play nan" | grep -q " 1.000 Play "'
        ask 'cue 7'; await 'xpctl --json status | grep -q "\"frame\":7,"'
        ask 'step -3'; await 'xpctl --json status | grep -q "\"frame\":4,"'
        ask 'loop 1'; xpctl set media_updated 1; xpctl set playback_source all_clips; await 'ask clips | grep "^clips: 0: "'; ask 'clip 0'; ask PLAY; ask '   '; ask stop
        echo quit >&3
        xpctl shut-down; status=0; wait $daemon || status=$?; echo "ended: $status"
        cp /run/xp/log=1 $OUT/log; [ ! -e /run/xp/other ]
    )sh");
    const QByteArray log = readAll(sandbox.out("log"));
    for (const char *text : {"Reserving ", "Parse Command Line 'xpd -D -d -s'", "STM: 0, CACHE: 0, RDEV: "})
        EXPECT_TRUE(log.contains(text)) << text << log.left(3000).toStdString();
    for (const char *line : {"mem: 10", "PLAY: unknown command: PLAY", "clips: 0: take_001.mov", "ended: 0"})
        EXPECT_TRUE(result.out.contains(QByteArray(line) + "\n")) << line << "\n" << result.out.toStdString();
}

TEST(DebugMode, isDrivenFromATerminal)
{
    Sandbox sandbox({"--no-daemon", "--net", "private"});
    const ProgramResult result = sandbox.run(QString(client) + R"sh(
        mkfifo /run/xp/keys
        script -qfec 'stty -a >$OUT/before; status=0; xpd -D || status=$?; stty -a >$OUT/after; echo "ended: $status"' $OUT/screen </run/xp/keys >/run/xp/xpd.out 2>&1 &
        terminal=$!
        exec 5>/run/xp/keys
        await is input_format 576i25
        printf c >&5; await is transport_status recording
        await '[ "$(stat -c %s /media/A/take_001.mov 2>/dev/null || echo 0)" -gt 1000000 ]'
        printf '\003O' >&5; await is transport_status stopped # Ctrl-C is a key without meaning
        # (A key in the change of mode is dropped.)
        await 'printf " " >&5; is transport_status still || is transport_status playing'
        printf n >&5; printf ' ' >&5; printf f >&5
        printf q >&5
        wait $terminal
        cmp $OUT/before $OUT/after && echo 'the terminal is as it was'
    )sh");
    EXPECT_TRUE(result.out.contains("the terminal is as it was"));
    const QByteArray screen = readAll(sandbox.out("screen"));
    EXPECT_TRUE(screen.contains("ended: 0")) << screen.right(2000).toStdString();
    EXPECT_TRUE(screen.contains(" Record  VR")) << screen.left(2000).toStdString();
    EXPECT_TRUE(screen.contains("Space  Toggle Play/Still"));
}
