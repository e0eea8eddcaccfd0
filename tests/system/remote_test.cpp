// SPDX-License-Identifier: GPL-3.0-or-later
// The deck that other machines drive: xpremote beside the real recorder.
#include "tests/system/sandbox.h"

#include <QFile>

#include <gtest/gtest.h>

namespace {
const QByteArray ports = "[ports]\n"
                         "ninepin = tcp:9901 record=on\n"
                         "ninepin = tcp:9902\n"
                         "ninepin = /dev/shm/tty9pin record=on\n"
                         "line = tcp:9993\n"
                         "osc = udp:9000\n";

class Remote : public testing::Test
{
protected:
    Remote() { writeAll(_dir.filePath("remote.ini"), ports); }
    QTemporaryDir _dir;
    Sandbox sandbox{{"--net", "private", "--remote", _dir.filePath("remote.ini")}};
};
} // namespace

TEST_F(Remote, anEditControllerDoesAWholeSession)
{
    const ProgramResult result =
        sandbox.run("xpctl record --for 9; xpctl stop; ninepin_session; cp /media/A/*.mov \"$OUT/\"");
    std::puts(result.out.constData());
    QFile edits(sandbox.out("edits"));
    ASSERT_TRUE(edits.open(QIODevice::ReadOnly));
    int count = 0;
    for (const QByteArray &line : edits.readAll().trimmed().split('\n')) {
        // First and last moment of edit on, of edit off, and the take.
        const QList<QByteArray> words = line.simplified().split(' ');
        const auto strips = stripsOf(sandbox.out(QString::fromUtf8(words.value(4))));
        EXPECT_EQ(brokenAt(strips), "") << line.constData();
        ASSERT_FALSE(strips.isEmpty()) << line.constData();
        EXPECT_TRUE(strips.first() >= words.value(0).toUInt() && strips.first() <= words.value(1).toUInt())
            << line.constData() << " begins with " << *strips.first();
        EXPECT_TRUE(*strips.last() + 1 >= words.value(2).toUInt() &&
                    *strips.last() + 1 <= words.value(3).toUInt())
            << line.constData() << " ends with " << *strips.last();
        ++count;
    }
    EXPECT_EQ(count, 3);
}

TEST_F(Remote, linesAndFadersDriveTheDeck)
{
    const QByteArray out = sandbox
                               .run(R"sh(
        xpctl record --for 4 >/dev/null
        exec 3<>/dev/tcp/127.0.0.1/9993 4<>/dev/udp/127.0.0.1/9000
        line() { printf '%b\r\n' "$1" >&3; until read -rt 20 got <&3 && [[ $got == [1234]* ]]; do :; done; echo "${got%$'\r'}"; }
        say ping;    line ping
        say goto;    line 'goto: timecode: 00:00:01:10'; xpctl --json status
        say play;    line 'play: speed: 0.5'; xpctl --json get transport_status
        say notify;  line 'notify: transport: true'
        xpctl still >/dev/null
        until read -rt 20 got <&3 && [[ $got == 501* ]]; do :; done
        until read -rt 20 got <&3 && [[ $got == status:* ]]; do echo "$got"; done; echo "$got"
        say osc
        printf '/xp/subscribe\0\0\0,i\0\0\0\0\0\x0A' >&4
        timeout 5 head -c 400 <&4 | tr -d '\0' | grep -ao '/xp/state/[a-z]*' | head -1
        printf '/xp/play\0\0\0\0,f\0\0\x3E\x80\0\0' >&4
        await 'xpctl get transport_status | grep -q playing'
        printf '#bundle\0\0\0\0\0\0\0\0\x01\xff\xff\xff\xff/xp/' >&4
        line 'record: for: 1'; line 'local'; line 'play'; xpctl remote >/dev/null
        say rude; for i in {1..5}; do # who does not wait for the answer
            head -c 65536 /dev/urandom >/dev/tcp/127.0.0.1/9901 || true; yes help | head -n 2000 >/dev/tcp/127.0.0.1/9993 || true; done 2>/dev/null
        line ping
        say figures
        await 'xpctl metrics | grep -q "^xp_remote_malformed_total.*udp:9000.* 1$"'
        xpctl metrics | grep -E '^xp_remote_(replies|undefined|malformed)_total'; xpctl doctor | grep remote
        grep -c 'line, 127.0.0.1' /run/xp/xpremote.out
    )sh")
                               .out;
    EXPECT_EQ(said(out, "ping"), "200 ok\n");
    EXPECT_TRUE(said(out, "goto").startsWith("200 ok\n") && said(out, "goto").contains("00:00:01:10"))
        << out.constData();
    EXPECT_TRUE(said(out, "play").startsWith("200 ok\n")) << out.constData();
    EXPECT_TRUE(said(out, "notify").contains("status: still")) << out.constData();
    EXPECT_TRUE(said(out, "osc").startsWith("/xp/state/")) << out.constData();
    EXPECT_EQ(said(out, "rude"), "200 ok\n");
    EXPECT_TRUE(said(out, "figures").contains("tcp:9993 127.0.0.1")) << out.constData();
}
