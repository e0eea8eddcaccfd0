// SPDX-License-Identifier: GPL-3.0-or-later
// xppanel with the real recorder behind it; curl is the other side.
#include "tests/support/print.h"
#include "tests/system/sandbox.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <gtest/gtest.h>

namespace {
const QString helpers = R"sh(
        A=$(cat /run/xp/panel.address)api/v1 T="Authorization: Bearer $(cat /run/xp/panel.token)"
        ask() { curl -sS -m 60 -w '\n%{http_code}\n' "$@"; }
        post() { ask -H "$T" -X POST "$A/$@"; }
        quick() { curl -s -m 20 -o /dev/null -w '%{http_code} ' "$@" || echo -n 'closed '; }
)sh";

QJsonObject objectIn(const QByteArray &text)
{
    return QJsonDocument::fromJson(text.left(text.indexOf('\n'))).object();
}
} // namespace

TEST(Panel, aTakeIsSeenFromItsBeginToItsEndAndBelongsToWhoBeganIt)
{
    Sandbox sandbox({"--panel"});
    const ProgramResult result = sandbox.run(helpers + R"sh(
        await is input_format 576i25
        curl -sN "$A/events" >$OUT/events & watching=$!
        await 'grep -q snapshot $OUT/events'
        say record; post transport/record
        await '[ $(recorded) -ge 25 ]'
        say again; post transport/record
        say shell-stops; xpctl --json stop; post transport/record; await '[ $(recorded) -ge 5 ]'
        say stop; post transport/stop
        say shell-take; xpctl --json record >/dev/null; await '[ $(recorded) -ge 5 ]'; post 'transport/stop?force=1'
        say cue; ask -H "$T" -X POST $A/transport/cue -d '{"where": 3}'
        say owner; xpctl --json take-control 60 >/dev/null; post 'transport/take_control?force=1'
        xpctl play 2>&1 && exit 9; post transport/release_control | tail -n 1
        say parameter; ask -H "$T" -X PUT $A/params/clip_base_name -d '{"value": "scene"}'; xpctl get clip_base_name
        say clips; ask "$A/clips?limit=1&sort=name&order=desc"
        curl -s $A/clips/take_001.mov/file -o $OUT/whole.mov; head -c 100000 $OUT/whole.mov >$OUT/part.mov
        curl -s -C - $A/clips/take_001.mov/file -o $OUT/part.mov; cmp $OUT/whole.mov $OUT/part.mov && cmp $OUT/whole.mov /media/A/take_001.mov
        say list; ask -i -H "$T" -X PUT $A/list -d '{"list": ["take_001.mov"]}' | grep -i etag | tee $OUT/tag
        tag=$(sed -E 's/.*("[0-9a-f]+").*/\1/' $OUT/tag); xpctl list add take_001.mov >/dev/null
        ask -H "$T" -H "If-Match: $tag" -X PUT $A/list -d '{"list": []}' | tail -n 1
        say metrics; curl -s $A/../../metrics | grep '^xp_up'
        curl -s $A/picture.jpg -o $OUT/picture.jpg -D $OUT/head
        say right-behind; for stop in 'xpctl --json stop' 'post transport/stop' 'post transport/stop?wait=0'; do
            post 'transport/record?wait=0' >/dev/null; $stop; await is transport_status stopped; done
        say clip-behind; for round in 1 2 3 4 5 6; do
            post transport/record; post transport/stop; post 'transport/clip?name=take_001.mov'; done
        kill $watching
    )sh");
    const auto status = [&](const char *block) {
        return said(result.out, block).trimmed().split('\n').last();
    };
    const QJsonObject record = objectIn(said(result.out, "record"));
    EXPECT_EQ(record["effect"].toObject()["clip"], "take_001.mov") << result.out.toStdString();
    EXPECT_EQ(record["state"].toObject()["status"], "recording");
    EXPECT_EQ(record["state"].toObject()["take"].toObject()["name"], "operator");
    EXPECT_EQ(status("again"), "200") << "the effect is there: done at once";
    EXPECT_EQ(status("shell-stops"), "200");
    EXPECT_GE(objectIn(said(result.out, "stop"))["effect"].toObject()["frames"].toInt(), 5);
    EXPECT_EQ(status("shell-take"), "200");
    EXPECT_EQ(objectIn(said(result.out, "cue"))["effect"].toObject()["frame"], 3);
    EXPECT_TRUE(said(result.out, "owner").contains("xpctl: operator (http, 127.0.0.1) is in control"));
    EXPECT_TRUE(said(result.out, "parameter").endsWith("\nscene\n"))
        << said(result.out, "parameter").toStdString();
    EXPECT_EQ(objectIn(said(result.out, "clips"))["clips"].toArray().size(), 1);
    EXPECT_EQ(status("list"), "412");
    EXPECT_EQ(status("metrics"), "xp_up 1");
    EXPECT_EQ(said(result.out, "right-behind").count("\"clips\":["), 2)
        << "a stop that comes before the take ends it: " << said(result.out, "right-behind").toStdString();
    EXPECT_EQ(said(result.out, "clip-behind").count("\n200\n"), 18)
        << "a clip right behind a take: " << said(result.out, "clip-behind").toStdString();
    EXPECT_TRUE(readAll(sandbox.out("picture.jpg")).startsWith("\xff\xd8"));
    EXPECT_TRUE(readAll(sandbox.out("head")).contains("X-Timecode: "));

    // Every change arrives once and in order; frames of the take follow at its rate.
    qint64 seq = 0;
    QSet<QString> statuses;
    int frames = 0;
    for (const QByteArray &line : readAll(sandbox.out("events")).split('\n')) {
        if (!line.startsWith("data: ")) continue;
        const QJsonObject event = QJsonDocument::fromJson(line.mid(6)).object();
        if (event["type"] == "snapshot") seq = event["seq"].toInteger();
        if (event["type"] != "delta") continue;
        EXPECT_EQ(event["seq"].toInteger(), ++seq);
        if (event["changed"].toObject().contains("status"))
            statuses.insert(event["changed"].toObject()["status"].toString());
        frames += event["changed"].toObject().contains("take_frames");
    }
    EXPECT_TRUE(statuses.contains({"recording", "stopped", "still"}));
    EXPECT_GT(frames, 20);
}

TEST(Panel, hostileClientsCostATakeAndOthersNothing)
{
    Sandbox sandbox({"--panel", "--no-mediad"});
    const ProgramResult result = sandbox.run(helpers + R"sh(
        await is input_format 576i25
        P=${A#http://*:}; P=${P%%/*}; pid=$(pgrep -x xppanel); memory() { awk '/VmRSS/ { print $2 }' /proc/$pid/status; }
        quick $A/state >&2; before=$(memory)
        post transport/record >/dev/null
        say answers
        quick -H 'Host: evil.example' $A/state; quick -H 'Origin: http://evil.example' $A/state
        quick -H "$T" -H 'Sec-Fetch-Site: cross-site' -X POST $A/transport/stop; quick -X DELETE $A/state
        quick --path-as-is "$A/../../../etc/passwd"; quick --path-as-is "$A/clips/..%2f..%2fetc%2fpasswd/file"; quick --path-as-is "$A/clips/%2e%2e/file"
        quick -H "X: $(head -c 60000 /dev/zero | tr '\0' x)" $A/state
        head -c 400M /dev/zero | quick -H "$T" -H 'Expect:' -X POST -T - $A/transport/stop
        quick -H "$T" -X POST $A/transport/stop -d '{"where": [1]}'; quick -H "$T" -X POST $A/transport/stop -d '{'
        quick "$A/state?%"; quick -H 'Upgrade: websocket' -H 'Connection: Upgrade' -H 'Sec-WebSocket-Version: 13' -H 'Sec-WebSocket-Key: x' -H 'Origin: http://evil.example' $A/events
        echo
        # Half a request, one byte a second, and clients that never read; a thousand connections at once.
        exec 5<>/dev/tcp/127.0.0.1/$P 6<>/dev/tcp/127.0.0.1/$P 7<>/dev/tcp/127.0.0.1/$P
        printf 'GET /api/v1/st' >&5; printf 'GET /api/v1/events HTTP/1.1\r\nHost: x:1\r\n\r\n' >&6
        printf 'GET /api/v1/events HTTP/1.1\r\nHost: localhost\r\n\r\n' >&7
        perl -MIO::Socket::INET -e '@all = map { IO::Socket::INET->new(PeerAddr => "127.0.0.1:'$P'") } 1 .. 1000; $| = 1; print "connected\n"; sleep 30' >$OUT/many & many=$!
        await 'grep -q connected $OUT/many'
        kill $many; wait $many 2>/dev/null || true
        say served; await '[ "$(quick $A/state)" = "200 " ]'; quick $A/state; echo
        say half; timeout 20 cat <&5 >/dev/null && echo closed
        say memory; echo $before $(memory)
        say take; post transport/stop | head -n 1; xpctl --json status
        # The daemon and then the store's folder are gone for a while.
        kill -KILL $(cat /run/xp/xpd.pid); await '! kill -0 $(cat /run/xp/xpd.pid) 2>/dev/null'
        say gone; post transport/record; quick $A/state; echo
    )sh");
    EXPECT_EQ(said(result.out, "answers").trimmed(), "421 403 403 405 400 400 400 431 413 400 400 400 403")
        << result.err.toStdString();
    EXPECT_EQ(said(result.out, "served").trimmed(), "200");
    EXPECT_EQ(said(result.out, "half").trimmed(), "closed");
    const QList<QByteArray> memory = said(result.out, "memory").trimmed().split(' ');
    ASSERT_EQ(memory.size(), 2);
    RecordProperty("kib_before", memory[0].toStdString());
    RecordProperty("kib_after", memory[1].toStdString());
    constexpr int mostKib = 64 * 1024;
    EXPECT_LT(memory[1].toInt() - memory[0].toInt(), mostKib);
    EXPECT_EQ(objectIn(said(result.out, "take"))["state"].toObject()["dropped_capture"], 0);
    EXPECT_TRUE(said(result.out, "gone").contains("no_daemon")) << said(result.out, "gone").toStdString();
    EXPECT_TRUE(said(result.out, "gone").endsWith("503\n200 \n")) << said(result.out, "gone").toStdString();
}
