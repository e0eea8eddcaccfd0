// SPDX-License-Identifier: GPL-3.0-or-later
// Several recorders on one machine.
#include "tests/support/print.h"
#include "tests/system/sandbox.h"

#include <gtest/gtest.h>

namespace {
constexpr auto smallPicture = "[inputs]\n601=generator:?rate=25&size=720x576&scan=i&count=machine\n";
} // namespace

TEST(Channels, aTakeOfAllHoldsTheSameFramesAndOneThatDiesTakesNothingFromTheOthers)
{
    Sandbox sandbox({"--channels", "3"});
    sandbox.setProfile(smallPicture);
    const ProgramResult result = sandbox.run(R"sh(
        await 'xpctl --all ready >/dev/null'
        xpctl --all record --for 1 >&2 # nothing of a take is taken for the next one's
        say together; xpctl --all --json record --for 2
        for channel in 1 2 3; do
            clip=$(xpctl --channel $channel get current_clip)
            [ $channel = 1 ] && folder=/media/A || folder=/media/A/channel-$channel
            cp $folder/$clip $OUT/$channel.mov
        done
        say lists; xpctl --channel 2 --json clips; xpctl --json clips
        ! xpctl mark in 3 channel-2/take_001.mov >/dev/null 2>&1 || exit 1 # another one's
        say dies; xpctl --all record
        # (The name comes behind the clip: what is counted then is of this take.)
        await '[ "$(xpctl --channel 3 get current_clip)" = take_003.mov ] && [ $(XP_CHANNEL=3 recorded) -ge 5 ]'
        kill -KILL $(cat /run/xp/channels/3/xpd.pid)
        await '[ $(XP_CHANNEL=2 recorded) -ge 50 ]'
        xpctl --channels 1,2 --json stop
        say dropped
        for channel in 1 2; do xpctl --channel $channel metrics | grep '^xp_frames_dropped_capture_total'; done
        say refuses; xpctl --all record || echo refused
        xpctl status | head -1
        for bad in 0 65 9 x ''; do ! xpctl --channel "$bad" status 2>&1 || exit 1; ! xpctl --channels "$bad" stop 2>&1 || exit 1; done
        ! xpctl channel remove 2 2>&1 || exit 1
        xpctl channel remove 3 2>&1 || true
        cp $(ls /media/A/channel-3/*.mov | tail -1) $OUT/killed.mov
    )sh");
    EXPECT_EQ(said(result.out, "together").count("\"first_frame_offset\":0"), 3) << result.out.toStdString();
    const auto first = stripsOf(sandbox.out("1.mov"));
    ASSERT_EQ(first.size(), 50);
    EXPECT_EQ(brokenAt(first), QString());
    for (const QString &other : {QStringLiteral("2.mov"), QStringLiteral("3.mov")})
        EXPECT_EQ(stripsOf(sandbox.out(other)), first) << "not the same frames: " << other.toStdString();
    EXPECT_EQ(said(result.out, "lists").count("take_001.mov"), 2) << "each has its own";
    EXPECT_EQ(said(result.out, "dies").count("\"status\":0"), 2);
    EXPECT_EQ(said(result.out, "dropped").count("_total 0"), 2) << result.out.toStdString();
    EXPECT_TRUE(said(result.out, "refuses").contains("refused"));
    EXPECT_TRUE(said(result.out, "refuses").contains("stopped")) << "one that could has begun a take";
    const auto killed = stripsOf(sandbox.out("killed.mov"));
    EXPECT_GE(killed.size(), 1);
    EXPECT_EQ(brokenAt(killed), QString());
}

TEST(Channels, whatBecomesOfOneIsNothingToTheOthers)
{
    Sandbox sandbox({"--channels", "4"});
    sandbox.setProfile(smallPicture + QByteArray("602=udp://127.0.0.1:18126\n")); // where nobody sends
    const ProgramResult result = sandbox.run(R"sh(
        of() { XP_CHANNEL=$1 xpctl "${@:2}"; }
        goes_on() { local from; from=$(XP_CHANNEL=$1 recorded); await "[ \$(XP_CHANNEL=$1 recorded) -ge $((from + $2)) ]"; }
        plug stalls 1G; plug fills
        await 'mountpoint -q /run/xp/channels/4/media/fills' # xp-channels gives it to each
        of 1 set active_media_path /media/stalls; of 4 set active_media_path /media/fills; of 4 set rollover_enabled on
        await '[ -n "$(of 4 get rollover_media_path)" ]'; next=$(of 4 get rollover_media_path)
        await 'xpctl --all ready >/dev/null'; xpctl --all record >&2
        for channel in 1 2 3 4; do await "[ \$(XP_CHANNEL=$channel recorded) -ge 25 ]"; done
        say together; xpctl --all --json status
        fsfreeze -f /media/stalls; goes_on 2 50; fsfreeze -u /media/stalls; goes_on 1 25
        of 2 set video_input input_2; goes_on 3 50
        kill -KILL $(cat /run/xp/channels/3/xpd.pid); goes_on 1 50
        fill 11 /media/fills; await '[ "$(of 4 get active_media_path)" = $next ] && [ "$(of 4 get current_clip)" = take_001_R2.mov ]'
        goes_on 4 50
        say ended; xpctl --channels 1,4 --json stop
        say lost; for channel in 1 4; do of $channel metrics | grep '^xp_frames_dropped_capture_total'; of $channel verify --all; done
        cp /media/stalls/*.mov $OUT/1.mov; cp /media/A/channel-2/*.mov $OUT/2.mov; cp /media/A/channel-3/*.mov $OUT/3.mov
        cp /media/fills/channel-4/*.mov $OUT/4.mov; cp $next/channel-4/*.mov $OUT/5.mov
    )sh");
    EXPECT_TRUE(said(result.out, "together").contains("\"first_frame_skew_ms\":0"))
        << said(result.out, "together").toStdString();
    const QByteArray lost = said(result.out, "lost");
    EXPECT_EQ(lost.count("_total 0"), 2) << lost.toStdString();
    QList<QList<std::optional<quint32>>> strips;
    for (const char *clip : {"1.mov", "2.mov", "3.mov", "4.mov", "5.mov"})
        strips << stripsOf(sandbox.out(clip));
    for (int channel = 0; channel < 4; ++channel)
        EXPECT_EQ(strips[channel].value(0), strips[0].value(0)) << "channel " << channel + 1;
    EXPECT_EQ(brokenAt(strips[0]), QString()) << "its disk stalled, and the others were disturbed";
    EXPECT_EQ(brokenAt(strips[2]), QString()) << "until it was killed";
    EXPECT_EQ(brokenAt(strips[3] + strips[4]), QString()) << "it rolled over";
    const QByteArray each =
        R"("clips":[{"frames":%1,"path":"/media/fills/take_001.mov"},{"frames":%2,"path":)";
    EXPECT_TRUE(said(result.out, "ended")
                    .contains(QString(each).arg(strips[3].size()).arg(strips[4].size()).toUtf8()))
        << said(result.out, "ended").toStdString();
}

TEST(Channels, whatCannotBeSharedIsToldAndLinksLeadRootNowhereElse)
{
    Sandbox sandbox({"--no-daemon"});
    const ProgramResult result = sandbox.run(R"sh(
        mkdir -m 700 $OUT/victim; echo secret >$OUT/victim/file; mkdir -p /run/xp/channels
        add() { xpctl channel add $1 ${2:-generator:} 2>&1 || true; }
        ln -s $OUT/victim /media/A/channel-7
        say medium; add 7; ls -A /run/xp/channels/7/media/A 2>/dev/null || true; [ -d /media/B/channel-7 ] && ls -d /run/xp/channels/7/media/B
        ln -s $OUT/victim /run/xp/channels/8; mkdir /etc/xp/channels/9; chown 65534 /etc/xp/channels/9
        say run; add 8
        mv /run/xp/channels/7/media /run/xp/channels/7/other; ln -s $OUT/victim /run/xp/channels/7/media
        say view; xpctl channel view 7 2>&1 || true
        say victim; stat -c '%a %u' $OUT/victim; ls -A $OUT/victim
        say others; xpctl channel view 9 2>&1 || true
        mkdir /media/full; mount -t tmpfs -o nr_inodes=1 xp-full /media/full
        say none-left; add 6; ls /run/xp/channels/6/media
        add 5 v4l2:/dev/video7; add 4 'v4l2:/dev/video7?format=any'
        say removed; xpctl channel follow 2>/dev/null & follow=$!
        touch /media/A/channel-5/clip.mov /media/B/channel-5/clip.mov
        for round in 1 2 3 4 5; do
            await 'mountpoint -q /run/xp/channels/5/media/A && mountpoint -q /run/xp/channels/5/media/B'
            xpctl channel remove 5; add 5 >/dev/null
        done
        ls /media/?/channel-5/clip.mov; kill $follow; wait $follow || true
        mkdir /run/xp/kept /run/xp/channels/5/bound; touch /run/xp/kept/clip.mov
        mount --bind /run/xp/kept /run/xp/channels/5/bound # of the same file system
        xpctl channel remove 5 || true; ls /run/xp/kept/clip.mov
    )sh");
    EXPECT_TRUE(said(result.out, "medium").contains("channel 7 has no folder on /media/A"))
        << result.out.toStdString();
    EXPECT_TRUE(said(result.out, "medium").contains("/run/xp/channels/7/media/B"));
    EXPECT_TRUE(said(result.out, "run").contains("channel 8 was not made: /run/xp/channels/8: "))
        << result.out.toStdString();
    EXPECT_TRUE(said(result.out, "view").contains("/run/xp/channels/7/media: ")) << result.out.toStdString();
    EXPECT_EQ(said(result.out, "victim"), "700 0\nfile\n");
    EXPECT_TRUE(said(result.out, "others").contains("/etc/xp/channels/9: ")) << result.out.toStdString();
    EXPECT_EQ(said(result.out, "removed").count("/clip.mov\n"), 3) << "the clips went with their channel";
    const QByteArray left = said(result.out, "none-left");
    EXPECT_TRUE(left.contains("channel 6 has no folder on /media/full: No space") &&
                left.contains("\nA\nB\n"))
        << left.toStdString();
    EXPECT_TRUE(left.contains("/dev/video7 is the input of channel 5")) << left.toStdString();
}

TEST(Channels, onePanelPassesOnToThoseOfTheOthersAndTrustsNoneWithoutTheKey)
{
    Sandbox sandbox({"--channels", "2", "--panel"});
    sandbox.setProfile(smallPicture);
    const ProgramResult result = sandbox.run(R"sh(
        token() { cat "$1/panel.token"; }
        get() { curl -sS -m 20 "$XP_PANEL"api/v1/"$@"; echo; }
        other=$(cat /run/xp/channels/2/panel.address); other=${other#http://}; other=${other%/}
        await 'xpctl --channel 2 ready >/dev/null'
        say looks; get channels/2/state; get channels/7/state
        say nobody; get channels/2/transport/record -X POST
        say records; get channels/2/transport/record -X POST -H "Authorization: Bearer $(token /run/xp)"
        xpctl --json status; xpctl --channel 2 --json stop
        say events; curl -sS -m 3 -N "$XP_PANEL"api/v1/channels/2/events | head -c 300 || true; echo
        say clip; get channels/2/clips/take_001.mov/file -o $OUT/passed.mov; cp /media/A/channel-2/take_001.mov $OUT/own.mov
        # Machines: the other panel with the key, a web server that has none, a port that says nothing.
        head -c 32 /dev/urandom | od -An -tx1 | tr -d ' \n' >/etc/xp/fleet.key; chmod 640 /etc/xp/fleet.key
        mkdir /run/xp/liar; echo '{"version": "1"}' >/run/xp/liar/index.html
        python3 -m http.server -d /run/xp/liar -b 127.0.0.1 18123 >/dev/null 2>&1 & liar=$!
        socat TCP-LISTEN:18124,bind=127.0.0.1,fork EXEC:'sleep 60' & mute=$!
        printf 'good %s\nliar 127.0.0.1:18123\nmute 127.0.0.1:18124\nnowhere 127.0.0.1:18125\nbroken\n' "$other" >/etc/xp/fleet
        kill -TERM $(pgrep -x xppanel); await '! pgrep -x xppanel >/dev/null'
        XP_CHANNEL=2 xppanel --listen $other 2>/dev/null & two=$!
        xppanel --listen 127.0.0.1:18122 2>/dev/null & one=$!
        XP_PANEL=http://127.0.0.1:18122/
        await 'get fleet 2>/dev/null | grep -q ready.*not_proven'
        say fleet; get fleet
        say machine; get machines/good/state; get machines/liar/state; get machines/mute/state; get machines/nowhere/state
        say replay
        curl -sS "http://$other/api/v1/state" -H 'Authorization: Fleet 1 x y' -H 'X-Xp-Role: engineer' -H 'X-Xp-Caller: me'; echo
        kill -TERM $one $two $liar $mute; wait || true
    )sh");
    const QByteArray looks = said(result.out, "looks");
    EXPECT_TRUE(looks.contains("\"tick\"") || looks.contains("\"timecode\"")) << looks.toStdString();
    EXPECT_TRUE(looks.contains("there is no channel 7"));
    EXPECT_TRUE(said(result.out, "nobody").contains("\"status\":40"))
        << said(result.out, "nobody").toStdString();
    const QByteArray records = said(result.out, "records");
    EXPECT_TRUE(records.contains("\"answer\":\"done\"") && records.contains("take_001.mov"))
        << records.toStdString();
    EXPECT_TRUE(said(result.out, "events").contains("event: ")) << said(result.out, "events").toStdString();
    EXPECT_EQ(readAll(sandbox.out("passed.mov")), readAll(sandbox.out("own.mov")));
    const QByteArray fleet = said(result.out, "fleet");
    for (const char *state : {"\"state\":\"ready\"", "\"state\":\"not_proven\"", "\"state\":\"silent\""})
        EXPECT_TRUE(fleet.contains(state)) << state << " in " << fleet.toStdString();
    const QByteArray machine = said(result.out, "machine");
    EXPECT_TRUE(machine.contains("\"timecode\"")) << machine.toStdString();
    EXPECT_EQ(machine.count("\"code\":\"not_proven\""), 1) << machine.toStdString();
    EXPECT_EQ(machine.count("\"code\":\"silent\""), 2) << machine.toStdString();
    EXPECT_TRUE(said(result.out, "replay").contains("wrong_token"));
}

TEST(Channels, oneCommandSetsAllRecordersOfAServer)
{
    Sandbox sandbox({"--no-daemon", "--no-mediad"});
    const ProgramResult result = sandbox.run(R"sh(
        redis-server --port 16390 --bind 127.0.0.1 --save '' >/dev/null & server=$!
        await 'redis-cli -p 16390 ping >/dev/null 2>&1'
        for name in north south; do
            echo redis://127.0.0.1:16390/$name >/etc/xp/store
            xpctl set reel_number $name 2>/dev/null
        done
        say of-one; xpctl --recorder north get reel_number; XP_RECORDER=north xpctl get reel_number; xpctl get reel_number 2>/dev/null || true
        say all; xpctl --recorders all --json set record_codec prores_422_lt 2>/dev/null
        for name in north south; do xpctl --recorder $name get record_codec; done
        say profile; xpctl profile save house 2>/dev/null; xpctl --recorder north set record_codec prores_422
        xpctl --recorders north --json profile diff house
        xpctl --recorders north,south profile apply house >/dev/null; xpctl --recorder north get record_codec
        say refused
        for words in '--recorder east get record_codec' '--recorders north,east set record_codec prores_422' \
            '--recorders all record' '--recorder north status'; do
            ! xpctl $words 2>&1 || exit 1
        done
        xpctl --recorder north get record_codec
        rm /etc/xp/store; ! xpctl --recorders all get record_codec 2>&1 || exit 1
        kill $server; wait $server || true
    )sh");
    EXPECT_EQ(said(result.out, "of-one").trimmed(), "north\nnorth\nsouth");
    EXPECT_EQ(said(result.out, "all").count("\"status\":0"), 2);
    EXPECT_EQ(said(result.out, "all").count("\nprores_422_lt"), 2) << said(result.out, "all").toStdString();
    const QByteArray profile = said(result.out, "profile");
    EXPECT_TRUE(profile.contains("record_codec") && profile.endsWith("prores_422_lt\n"))
        << profile.toStdString();
    const QByteArray refused = said(result.out, "refused");
    EXPECT_EQ(refused.count("there is no recorder east"), 2) << refused.toStdString();
    EXPECT_EQ(refused.count("is for the recorder of this machine"), 2);
    EXPECT_TRUE(refused.contains("prores_422_lt")) << "one refused, and the others were changed";
    EXPECT_TRUE(refused.contains("on its own disk"));
}
