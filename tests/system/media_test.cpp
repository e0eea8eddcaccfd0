// SPDX-License-Identifier: GPL-3.0-or-later
// The media daemon beside the recorder: it dies, the recorder dies, media go.
#include "tests/support/print.h"
#include "tests/system/mediarig.h"

#include <gtest/gtest.h>

TEST(Media, whatAKilledRecorderLeftIsRepairedNowOrAtTheNextStart)
{
    for (const bool watched : {true, false}) {
        SCOPED_TRACE(watched ? "the media daemon is there" : "it starts later");
        Sandbox sandbox;
        const ProgramResult result =
            sandbox.run(QString(watched ? "" : "xpctl get transport_running >/dev/null; kill_mediad\n") +
                        R"sh(
        xpctl record >&2
        await '[ $(recorded) -ge 25 ]'
        kill -KILL $(cat /run/xp/xpd.pid)
        recorded
        if ! kill -0 $(cat /var/lock/xpmediad.lock) 2>/dev/null; then
            cp /media/A/*.mov $OUT/unrepaired.mov
            xpmediad >/run/xp/xpmediad.out 2>&1
        fi
        await 'xpctl alarms | grep -q "information  clips_repaired .*take_001.mov was left unfinished and has been repaired"'
        await '[ "$(xpctl get transport_status)" = shut_down ]'
        echo "$(xpctl get transport_running) $(xpctl get storage_state)"
        cp /media/A/*.mov $OUT/take.mov
    )sh");
        const QList<QByteArray> lines = result.out.split('\n');
        EXPECT_EQ(lines.value(1), QByteArray("off released"));
        for (const char *clip : {"take.mov", "unrepaired.mov"}) {
            if (watched && clip[0] == 'u') continue;
            const auto strips = stripsOf(sandbox.out(clip));
            EXPECT_GE(strips.size(), lines.value(0).toInt()) << clip;
            EXPECT_EQ(brokenAt(strips), QString()) << clip;
        }
        const ProgramResult atoms = runProgram("ffprobe", {"-v", "trace", sandbox.out("take.mov")});
        EXPECT_TRUE(atoms.err.contains("type:'moov'"));
        EXPECT_FALSE(atoms.err.contains("type:'mvex'")) << "not closed";
    }
}

TEST(Media, listsFollowWhateverBecomesOfAMedium)
{
    Sandbox sandbox({"--media-size", "400M"});
    const ProgramResult result = sandbox.run(R"sh(
        listed() { xpctl --json clips | grep -o '"name":"[^"]*"' | sort | tr -d '\n'; }
        state() { xpctl media | awk -v medium="/media/$1" '$1 == medium { print $3 }'; }
        xpctl record --for 1 >&2
        await '[ "$(state A) $(state B)" = "active next" ]'
        umount -l /media/A
        await 'is active_media_path /media/B && [ -z "$(listed)" ]'
        is current_clip N/A && is rollover_media_path ""
        mount -o loop "$XP_SANDBOX_DIR/medium-A.img" /media/A
        await 'is rollover_media_path /media/A'
        xpctl set active_media_path /media/A
        await "[ '\"name\":\"take_001.mov\"' = \"\$(listed)\" ]"
        mount -o remount,ro /media/B
        await 'is rollover_media_path "" && [ "$(state B)" = read_only ]'
        mount -o remount,rw /media/B
        await 'is rollover_media_path /media/B'
        # What is mounted but no place for clips is no medium; one that cannot be written is none to record on.
        mkdir /media/P /media/S; mount -t proc proc /media/P; mount -t tmpfs -o ro,size=300M none /media/S
        await '[ "$(state S)" = read_only ]'
        say odd; xpctl media
        umount /media/P /media/S
        plug F
        (cd /media/F; seq -f 'note_%g.txt' 9000 | xargs touch; for i in $(seq 1000); do echo nonsense >junk_$i.mov; done)
        await '[ -n "$(state F)" ]'
        xpctl set active_media_path /media/F
        await '[ "$(state F)" = active ]'
        xpctl record --for 1 >&2
        say foreign; listed
    )sh");
    EXPECT_TRUE(said(result.out, "odd").contains("/media/S"));
    EXPECT_FALSE(said(result.out, "odd").contains("/media/P"));
    EXPECT_EQ(said(result.out, "foreign").trimmed(), QByteArray("\"name\":\"take_002.mov\""));
}

TEST(Media, clipsAreCopiedMarkedAndDeletedWhileATakeRuns)
{
    Sandbox sandbox({"--media-size", "600M"});
    sandbox.setProfile("[inputs]\n601=generator:?rate=50&size=1280x720\n");
    const ProgramResult result = sandbox.run(R"sh(
        xpctl record --for 1 >&2
        head -c 100M /dev/urandom >/media/A/big.mov
        xpctl set record_codec 3
        xpctl record >&2
        say ended; refused copy big.mov B & order=$!
        await 'xpctl get media_order_state | grep -q running'
        kill_mediad; restart_mediad; wait $order
        say copied; xpctl copy big.mov B
        cmp /media/A/big.mov /media/B/big.mov
        say again; refused copy big.mov B
        say recorded; refused copy take_002.mov B; refused delete take_002.mov
        xpctl protect big.mov
        say protected; refused delete big.mov
        xpctl unprotect big.mov; xpctl delete big.mov; xpctl delete /media/B/big.mov
        say left; ls -A /media/A /media/B
        await '[ $(recorded) -gt 100 ]'
        xpctl stop >&2
        xpctl clip take_001.mov >&2; xpctl still >&2
        say played; refused delete take_001.mov
        xpctl stop >&2; xpctl stop >&2
        xpctl delete take_001.mov
        await '! is current_clip take_001.mov'
        await '[ -s /var/lib/xp/thumbnails/A/take_002.mov.jpg ] && [ ! -e /var/lib/xp/thumbnails/A/big.mov.jpg ]'
        rm -r /var/lib/xp/thumbnails/A; ln -s /media/A /var/lib/xp/thumbnails/A
        xpctl record --for 1 >&2
        await '[ -s /var/lib/xp/thumbnails/A/take_002.mov.jpg ]'
        say linked; ls -A /media/A; stat -c 'rights %a' /var/lib/xp/thumbnails/A
        say together; kill -STOP $(cat /var/lock/xpmediad.lock)
        for i in $(seq 20); do refused delete none.mov & done
        sleep 1; kill -CONT $(cat /var/lock/xpmediad.lock); wait $(jobs -p)
        cp /var/lib/xp/thumbnails/A/take_002.mov.jpg /media/A/take_002.mov $OUT
    )sh");
    EXPECT_TRUE(said(result.out, "ended").contains("has ended before")) << result.out.toStdString();
    EXPECT_TRUE(said(result.out, "copied").contains("copied and compared")) << result.out.toStdString();
    EXPECT_TRUE(said(result.out, "again").contains("exists already")) << result.out.toStdString();
    EXPECT_EQ(said(result.out, "recorded").count("being recorded"), 2) << result.out.toStdString();
    EXPECT_TRUE(said(result.out, "protected").contains("is protected")) << result.out.toStdString();
    EXPECT_FALSE(said(result.out, "left").contains("big")) << result.out.toStdString();
    EXPECT_TRUE(said(result.out, "played").contains("in use")) << result.out.toStdString();
    EXPECT_TRUE(said(result.out, "linked").contains("take_002.mov\n")) << "kept where a link led";
    EXPECT_TRUE(said(result.out, "linked").contains("rights 750")) << result.out.toStdString();
    EXPECT_FALSE(said(result.out, "linked").contains(".jpg")) << result.out.toStdString();
    EXPECT_EQ(said(result.out, "together").count("none.mov: there is no such clip"), 20)
        << result.out.toStdString();
    EXPECT_EQ(brokenAt(stripsOf(sandbox.out("take_002.mov"))), QString()) << "the copy has cost frames";
    const ProgramResult probe = runProgram("ffprobe", {"-v", "error", "-show_entries", "stream=width", "-of",
                                                       "csv=p=0", sandbox.out("take_002.mov.jpg")});
    EXPECT_EQ(probe.out.trimmed(), QByteArray("192"));
}
