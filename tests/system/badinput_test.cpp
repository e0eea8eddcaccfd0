// SPDX-License-Identifier: GPL-3.0-or-later
// What is broken, missing, full or absurd: told in one sentence, survived, and no harm to what is recorded.
#include "tests/support/print.h"
#include "tests/system/sandbox.h"

#include <QDir>
#include <QRandomGenerator>

#include <gtest/gtest.h>

namespace {

void expectRefusal(const QByteArray &block, int status, const QByteArray &why)
{
    EXPECT_TRUE(block.contains("\"error\":\"")) << block.toStdString();
    EXPECT_TRUE(block.contains(why)) << block.toStdString();
    EXPECT_TRUE(block.endsWith("status " + QByteArray::number(status) + "\n")) << block.toStdString();
}
} // namespace

TEST(BadInput, aStoreThatIsTakenAwayDuringATakeComesBackWithWhatWasKnown)
{
    Sandbox sandbox;
    QByteArray noise(200000, Qt::Uninitialized);
    QRandomGenerator(7).fillRange(reinterpret_cast<quint32 *>(noise.data()), noise.size() / 4);
    sandbox.setProfile(noise); // no profile at all: the built-in one
    const ProgramResult result = sandbox.run(R"sh(
        say profile; grep -c lumen.ini /run/xp/xpd.out; grep lumen.ini /run/xp/xpd.out
        db=/var/lib/xp/store.db
        xpctl set clip_base_name other
        for harm in "rm -f $db $db-wal $db-shm $db.backup-*" "rm -f $db" "cp /etc/xp/lumen.ini $db" "truncate -s 0 $db"; do
            say "$harm"
            xpctl record >&2
            $harm
            await is transport_status recording
            xpctl stop >&2
            xpctl get active_media_path; xpctl get clip_base_name; xpctl alarms
        done
        say log; grep -c 'configuration store' /run/xp/xpd.out || true # none is not a failure
        say gone
        xpctl record >&2
        mount -t tmpfs -o ro none /var/lib/xp
        await 'xpctl --json status 2>/dev/null | grep -q "\"recorded_up_to\":[2-9][0-9]"' # shared memory goes on telling
        refused status; refused clips; refused record; xpctl stop
        umount /var/lib/xp
        await is transport_status stopped
        cp /media/A/*.mov $OUT
        say held
        xpctl record >&2; await '[ $(recorded) -ge 25 ]'
        exec 9<$db.lock; flock 9; xpctl stop; exec 9<&-
    )sh");
    EXPECT_TRUE(said(result.out, "held").contains("stopped without the configuration store"))
        << result.out.toStdString();
    EXPECT_TRUE(said(result.out, "profile").startsWith("1\n")) << result.out.left(500).toStdString();
    EXPECT_TRUE(said(result.out, "profile").contains("is not a text file, the built-in profile is used"));
    for (const QByteArray &harm :
         {QByteArray("rm -f /var/lib/xp/store.db"), QByteArray("truncate -s 0 /var/lib/xp/store.db"),
          QByteArray("cp /etc/xp/lumen.ini /var/lib/xp/store.db")}) {
        EXPECT_TRUE(said(result.out, harm).startsWith("/media/A\nother\n"))
            << harm.toStdString() << result.out.toStdString();
        EXPECT_TRUE(said(result.out, harm).contains("has been restored")) << harm.toStdString();
    }
    EXPECT_LE(said(result.out, "log").trimmed().toInt(), 8) << "more than two lines for each harm";
    const QByteArray gone = said(result.out, "gone");
    EXPECT_EQ(gone.count("status 4\n"), 3) << gone.toStdString();
    EXPECT_TRUE(gone.contains("; check the folder, its rights")) << gone.toStdString();
    EXPECT_TRUE(gone.contains("\"name\":\"other_001.mov\"")) << gone.toStdString();
    EXPECT_TRUE(gone.contains(" frames, stopped without the configuration store\n")) << gone.toStdString();
    for (int take = 1; take <= 5; ++take) {
        const QString name = QStringLiteral("other_%1.mov").arg(take, 3, 10, QChar('0'));
        EXPECT_EQ(brokenAt(stripsOf(sandbox.out(name))), QString()) << name.toStdString();
    }
}

TEST(BadInput, filesThatAreNoClipsAreExplainedAndTheOthersPlay)
{
    Sandbox sandbox({"--no-mediad"});
    const ProgramResult result = sandbox.run(R"sh(
        cd /media/A
        xpctl record --for 1.5 >&2
        take=take_001.mov; size=$(stat -c %s $take); before=$(sha1sum $take)
        for i in $(seq 0 19); do head -c $((size * i / 20)) $take >cut_$i.mov; done
        mkdir folder.mov; mkfifo pipe.mov; ln -s /nowhere dangling.mov; head -c 300000 /dev/urandom >noise.mov
        ffmpeg -v error -f lavfi -i testsrc2=size=320x240:rate=25 -t 1 -c:v cinepak odd.mov </dev/null
        ffmpeg -v error -f lavfi -i sine=sample_rate=48000 -t 1 -c:a pcm_s16le sound.mov </dev/null
        mkdir film.images; ffmpeg -v error -f lavfi -i testsrc2=size=320x240:rate=25 -t 1 film.images/p_%03d.png </dev/null
        ln -s film.images linked.images
        cp $take holed.mov; head -c 200000 /dev/urandom | dd of=holed.mov bs=1000 seek=$((size / 2000)) conv=notrunc status=none
        await 'xpctl set media_updated 1 && xpctl clip odd.mov' >&2 # a listing that takes too long is done without
        say clips; xpctl clips
        mkdir empty.images; ln -s $take link.mov; say all; xpctl clips --all; rm -r empty.images link.mov
        for name in noise.mov folder.mov pipe.mov dangling.mov sound.mov cut_1.mov linked.images; do say $name; refused clip $name; done
        for name in odd.mov film.images holed.mov cut_19.mov $take; do
            say $name; xpctl clip $name; xpctl play --wait; xpctl stop >&2; xpctl stop >&2
        done
        say log; cat /run/xp/xpd.out
        [ "$before" = "$(sha1sum $take)" ] || { echo "the take was changed" >&2; exit 8; }
    )sh");
    const QByteArray clips = said(result.out, "clips");
    const QString all = QString::fromUtf8(said(result.out, "all")).simplified();
    for (const char *line :
         {"- cut_0.mov it is empty", "- cut_1.mov it has no frames", "- dangling.mov it is a link",
          "- empty.images it holds no numbered pictures", "- link.mov it is a link",
          "- noise.mov it is no kind of clip that is known", "- pipe.mov it is no file"})
        EXPECT_TRUE(all.contains(QLatin1String(line))) << line << " is not in " << all.toStdString();
    for (const char *listed : {"take_001.mov", "odd.mov", "film.images", "cut_19.mov", "holed.mov"}) {
        EXPECT_TRUE(clips.contains(listed)) << listed << clips.toStdString();
        EXPECT_TRUE(said(result.out, listed).contains("still")) << listed << result.out.toStdString();
    }
    for (const char *name : {"noise.mov", "sound.mov", "cut_1.mov"}) {
        EXPECT_FALSE(clips.contains(QByteArray("  ") + name)) << name;
        expectRefusal(said(result.out, name), 1,
                      QByteArray(name) + " lies on /media/A, but cannot be played: ");
    }
    EXPECT_FALSE(clips.contains("linked.images")) << clips.toStdString();
    expectRefusal(said(result.out, "folder.mov"), 1, "it is no file");
    expectRefusal(said(result.out, "linked.images"), 1, "it is a link");
    expectRefusal(said(result.out, "pipe.mov"), 1, "it is no file");
    expectRefusal(said(result.out, "dangling.mov"), 1, "there is no clip dangling.mov on /media/A");
    EXPECT_LE(said(result.out, "log").count("holed.mov"), 4) << "one error for a run of bad frames";
    EXPECT_LE(said(result.out, "log").count('\n'), 60);
}

TEST(BadInput, mediaThatRefuseEndTheTakeAndSayWhy)
{
    Sandbox sandbox({"--no-mediad", "--media-size", "60M"});
    const ProgramResult result = sandbox.run(R"sh(
        xpctl record --for 0.5 >&2
        before=$(sha1sum /media/A/take_001.mov)
        mkdir /var/tmp/plain-$$; xpctl set --force active_media_path /var/tmp/plain-$$
        say plain; refused record; say plain-again; refused record
        rmdir /var/tmp/plain-$$; xpctl set active_media_path /media/A
        mount -o remount,ro /media/A; say readonly; refused record; mount -o remount,rw /media/A
        take=take_$(printf %03d "$(xpctl get take_number)")
        echo mine >/media/A/$take.mov; say taken; xpctl --json record --for 0.3; cat /media/A/$take.mov
        xpctl set automatic_take off; xpctl record --for 0.3 >&2; say same; refused record; xpctl set automatic_take on
        xpctl record >&2; head -c 100M /dev/zero >/media/A/fill 2>/dev/null || true
        await is transport_status stopped
        say full; xpctl alarms; say full-open; refused record
        rm /media/A/fill; xpctl record --for 0.3 >&2
        [ "$before" = "$(sha1sum /media/A/take_001.mov)" ] || exit 8
        cp /media/A/take_001.mov $OUT
        xpctl record >&2
        perl -e 'sysopen(F, "/media/A", 0); $how = pack("I", 2); ioctl(F, 0x8004587d, $how)' # the file system shuts down
        await is transport_status stopped
        say vanished; xpctl alarms; say vanished-open; refused record
        xpctl set active_media_path ''; say none; refused play
        xpctl set active_media_path /media/B
        say last; xpctl record --for 0.3; xpctl status
    )sh");
    expectRefusal(said(result.out, "plain"), 1, "No Media");
    expectRefusal(said(result.out, "plain-again"), 1, "No Media");
    EXPECT_TRUE(said(result.out, "plain").contains("xpctl set active_media_path"));
    expectRefusal(said(result.out, "readonly"), 1, "the medium is read-only; remount or replace it");
    EXPECT_TRUE(said(result.out, "taken").endsWith("mine\n")) << "a file of the take's name was overwritten";
    expectRefusal(said(result.out, "same"), 1, "already exists");
    EXPECT_TRUE(said(result.out, "full").contains("the medium is full; use another medium or delete clips"));
    expectRefusal(said(result.out, "full-open"), 1, "Media Full");
    EXPECT_TRUE(said(result.out, "vanished").contains("input/output error; check or replace it"));
    expectRefusal(said(result.out, "vanished-open"), 1, "check or replace it");
    expectRefusal(said(result.out, "none"), 1, "no medium is active");
    EXPECT_TRUE(said(result.out, "last").contains("into /media/B/")) << result.out.toStdString();
    EXPECT_EQ(brokenAt(stripsOf(sandbox.out("take_001.mov"))), QString());
}

TEST(BadInput, commandLinesThatMakeNoSenseAndDaemonsThatDie)
{
    Sandbox without({"--no-daemon"});
    const ProgramResult usage = without.run(R"sh(
        check() { wanted=$1; shift; error=$(xpctl --json "$@" 2>&1 >/dev/null) && status=0 || status=$?
            if [ $status != $wanted ] || [ "$(echo "$error" | grep -c '"error":"..*"')" != 1 ] || [ "$(echo "$error" | wc -l)" != 1 ]; then
                echo "xpctl $*: status $status, not $wanted: $error"
            fi; }
        check 2; check 2 nonsense; check 2 record 5; check 2 record --for; check 2 record --for -1
        for length in 0 nan inf 1e30 x ''; do check 2 record --for "$length"; done
        check 2 step; check 2 cue; check 2 clip; check 2 get; check 2 set; check 2 set clip_base_name
        check 2 get ''; check 2 get nonsense; check 2 set nonsense 1; check 2 params no_such_word; check 2 play 1 2
        check 2 set transport_status nonsense; check 2 set transport_status stopped; check 3 list add; check 2 set take_number -1; check 2 set take_number 99999999999999
        check 2 status --for 3; check 2 --nonsense; check 2 get clip_base_name more
        for command in record play still stop "step 1" "cue 1" next prev "clip x" shut-down; do check 3 $command; done
        xpctl --help >/dev/null; xpctl record --help >/dev/null
        xpctl --json nonsense 2>&1 || true; xpctl record --fro 5 2>&1 || true; xpctl --json 2>&1 || true
    )sh");
    EXPECT_EQ(usage.out.count('\n'), 4) << usage.out.toStdString();
    for (const char *mistake :
         {"there is no command 'nonsense'", "record has no option --fro", "a command is missing"})
        EXPECT_TRUE(usage.out.contains(mistake)) << usage.out.toStdString();

    Sandbox sandbox({"--no-mediad"});
    const ProgramResult result = sandbox.run(R"sh(
        say words
        for words in "play nan" "play 101" "play x" "step x" "step 99999999" "cue -5" "cue 99:99:99:99" "cue x"; do refused $words; done
        say empty; refused play; say empty-cue; refused cue 5
        xpctl set video_input input_2; say silent; refused record --for 1; is transport_status stopped; xpctl status >&2
        xpctl set video_input input_1; await 'xpctl record --for 0.2 >$OUT/said 2>&1'
        kill -STOP $(cat /run/xp/xpd.pid); say hung; refused status; kill -CONT $(cat /run/xp/xpd.pid)
        for end in opening interrupt death; do
            say $end
            status=0; xpctl --json record --for 600 >$OUT/said 2>&1 & waiting=$!
            await is transport_status recording # before the clip is open
            [ $end = opening ] || await safer
            [ $end != interrupt ] || for words in next prev "clip take_001.mov"; do refused $words; done
            if [ $end = death ]; then kill -KILL $(cat /run/xp/xpd.pid); else kill -TERM $waiting; fi
            wait $waiting || status=$?
            cat $OUT/said; echo "status $status"
            [ $end = death ] || is transport_status stopped || echo "the take goes on"
        done
        cp /media/A/*.mov $OUT
    )sh");
    EXPECT_EQ(said(result.out, "words").count("status 2"), 8) << result.out.toStdString();
    expectRefusal(said(result.out, "empty"), 1, "there is nothing to play");
    expectRefusal(said(result.out, "empty-cue"), 1, "there is nothing to play");
    expectRefusal(said(result.out, "silent"), 1, "the take has not begun: ");
    EXPECT_TRUE(said(result.out, "silent").contains("(Nothing connected)")) << result.out.toStdString();
    expectRefusal(said(result.out, "hung"), 3, "the daemon stands still");
    EXPECT_EQ(said(result.out, "interrupt").count("a take is being recorded"), 3) << result.out.toStdString();
    EXPECT_TRUE(said(result.out, "opening").endsWith("status 5\n")) << result.out.toStdString();
    EXPECT_TRUE(said(result.out, "interrupt").contains("\"frames\":")) << result.out.toStdString();
    EXPECT_TRUE(said(result.out, "interrupt").endsWith("status 5\n")) << result.out.toStdString();
    expectRefusal(said(result.out, "death"), 3, "the daemon has ended");
    const auto takes = QDir(sandbox.out()).entryList({"take_*.mov"}, QDir::Files, QDir::Name);
    ASSERT_GE(takes.size(), 2);
    for (const QString &take : takes.last(2))
        EXPECT_EQ(brokenAt(stripsOf(sandbox.out(take))), QString()) << take.toStdString();
}

TEST(BadInput, valuesThatNothingCanBeDoneWithAreRefusedAndChangeNothing)
{
    Sandbox sandbox;
    const ProgramResult result = sandbox.run(R"sh(
        xpctl set timecode_preset_hour 10; xpctl record --for 1 >&2
        settings() { for name in active_media_path rollover_media_path play_list current_clip clip_name_pattern; do xpctl get $name; done; }
        settings >$OUT/before
        while read -r value; do
            status=0; xpctl set $value 2>&1 || status=$?; echo "$value: $status"
        done <<'VALUES'
            active_media_path /media/C
            active_media_path B
            rollover_media_path /nowhere
            rollover_media_path /dev/shm
            active_media_path /media/A/take_001.mov
            rollover_media_path /media/A
            mirror_media_path /media/A
            play_list nope.mov
            current_clip foo.mov
            cue_to_timecode foo
            cue_to_timecode 99:99:99:99
            cue_to_timecode 09:00:00:00
            go_to_clip_index 99
            cue_to_frame 1000
            media_order {bad
            clip_name_pattern {foo}
            clip_name_pattern {name
            timecode_preset_hour 10:20:30:25
VALUES
        settings >$OUT/after; diff $OUT/before $OUT/after >&2
        say cue; refused cue 09:00:00:00; refused cue 1000
        xpctl record >&2
        say take; refused set active_media_path /media/B
        # Who does not ask xpctl is answered by an alarm, and the take keeps its medium.
        say forced; xpctl set --force active_media_path /media/B; await 'xpctl alarms | grep medium_refused'; is active_media_path /media/A
        xpctl stop >&2
    )sh");
    // What makes no sense at all, and what the clip that is there does not have.
    const QByteArray refused = result.out.left(result.out.indexOf("== "));
    EXPECT_TRUE(refused.contains("is on the same medium as"));
    EXPECT_EQ(refused.count(": 2\n"), 16) << result.out.toStdString();
    EXPECT_EQ(refused.count(": 1\n"), 2) << result.out.toStdString();
    EXPECT_EQ(said(result.out, "cue").count("status 1\n"), 2) << result.out.toStdString();
    EXPECT_TRUE(said(result.out, "cue").contains("its timecodes are 10:00:00:00 to 10:00:0"))
        << result.out.toStdString();
    expectRefusal(said(result.out, "take"), 1, "a take is being recorded on /media/A");
    EXPECT_TRUE(said(result.out, "forced").contains("a take is being recorded on /media/A"))
        << result.out.toStdString();
}

TEST(BadInput, aTakeRightAfterAnotherInputWasChosenBeginsInItsFormat)
{
    Sandbox sandbox({"--no-mediad"});
    sandbox.setProfile("[inputs]\n601=generator:?rate=25&size=720x576&scan=i\n"
                       "602=generator:?rate=50&size=1280x720\n");
    const ProgramResult result = sandbox.run(R"sh(
        xpctl record --for 1 >&2
        xpctl set video_input input_2; xpctl record --for 1 >&2
        cp /media/A/take_002.mov $OUT
        # Nobody sees to this one: it waits, and nothing of the take before is told of it.
        xpctl set video_input input_1; xpctl record --no-wait
        await 'xpctl --json status | grep \"start_in\":-1'
        say figures; xpctl --json status; say waits; xpctl status; xpctl stop
    )sh");
    const ProgramResult probe =
        runProgram("ffprobe", {"-v", "error", "-count_frames", "-show_entries", "stream=width,nb_read_frames",
                               "-select_streams", "v", "-of", "csv=p=0", sandbox.out("take_002.mov")});
    EXPECT_TRUE(probe.out.startsWith("1280,5")) << probe.out.toStdString(); // 50 or some more
    const QByteArray waits = said(result.out, "waits");
    EXPECT_EQ(jsonField(said(result.out, "figures"), "clip"), QString()) << result.out.toStdString();
    EXPECT_EQ(jsonField(said(result.out, "figures"), "take_frames"), "0") << result.out.toStdString();
    EXPECT_TRUE(waits.contains("waits for a picture")) << waits.toStdString();
    EXPECT_TRUE(waits.contains("nothing was recorded")) << waits.toStdString();
}

TEST(BadInput, anInputThatNeverLocksAndOneThatComesBackInAnotherFormat)
{
    Sandbox sandbox({"--no-mediad", "--net", "private"});
    sandbox.setProfile("[inputs]\n601=none:\n602=udp://127.0.0.1:17602\n");
    const ProgramResult result = sandbox.run(R"sh(
        send() {
            ffmpeg -v error -re -f lavfi -i "testsrc2=size=$1:rate=$2" -f lavfi -i sine=sample_rate=48000 \
                -c:v libx264 -preset ultrafast -tune zerolatency -g 25 -pix_fmt yuv420p -c:a aac -f mpegts \
                "udp://127.0.0.1:17602?pkt_size=1316" </dev/null & sender=$!
        }
        xpctl set video_input 6
        say silent; refused record --for 1
        send 1920x1080 25; await is input_format 1080p25
        status=0; xpctl --json record --for 600 >$OUT/said 2>&1 & waiting=$!
        await '[ $(recorded) -ge 40 ]'
        kill $sender; wait $waiting || status=$?
        say lost; cat $OUT/said; echo "status $status"
        await is input_format none
        send 1280x720 50; await is input_format 720p50
        say back; xpctl --json record --for 2; xpctl --json status
        kill $sender; cp /media/A/*.mov $OUT
    )sh");
    expectRefusal(said(result.out, "silent"), 1, "waiting for a signal");
    expectRefusal(said(result.out, "lost"), 1,
                  "the take ended early; what was recorded is in /media/A/take_001.mov");
    for (const auto &[clip, picture, least] :
         {std::tuple{"take_001.mov", "1920,1080,25/1", 40}, {"take_002.mov", "1280,720,50/1", 100}}) {
        const ProgramResult probe =
            runProgram("ffprobe", {"-v", "error", "-count_frames", "-select_streams", "v", "-show_entries",
                                   "stream=width,height,r_frame_rate,nb_read_frames", "-of", "csv=p=0",
                                   sandbox.out(clip)});
        EXPECT_TRUE(probe.out.startsWith(picture)) << clip << ": " << probe.out.toStdString();
        EXPECT_EQ(probe.err, QByteArray()) << clip;
        EXPECT_GE(probe.out.trimmed().split(',').last().toInt(), least) << clip;
    }
}
