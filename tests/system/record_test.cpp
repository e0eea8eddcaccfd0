// SPDX-License-Identifier: GPL-3.0-or-later
// A take from the keyboard to a file that other programs open.
#include "platform/qmx/device/qmxstrip.h"
#include "tests/support/print.h"
#include "tests/system/sandbox.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <gtest/gtest.h>

namespace {
constexpr auto generator1080 = "[inputs]\n601=generator:?rate=25&size=1920x1080&tone=off\n";
constexpr auto generator576 = "[inputs]\n601=generator:?rate=25&size=720x576&scan=i\n";

QJsonArray streamsOf(const QString &clip)
{
    const ProgramResult probe =
        runProgram("ffprobe", {"-v", "error", "-count_frames", "-show_streams", "-of", "json", clip}, 120000);
    EXPECT_EQ(probe.status, 0);
    EXPECT_EQ(probe.err, QByteArray()) << "ffprobe warns";
    return QJsonDocument::fromJson(probe.out).object().value("streams").toArray();
}

/// The clip is an ordinary QuickTime file for programs that are not ours, which all count `frames`.
void expectOrdinaryClip(const QString &clip, int frames)
{
    const QJsonArray streams = streamsOf(clip);
    ASSERT_EQ(streams.size(), 3);
    const QJsonObject video = streams[0].toObject();
    EXPECT_EQ(video["codec_name"].toString(), QString("prores"));
    EXPECT_EQ(video["codec_tag_string"].toString(), QString("apcn"));
    EXPECT_EQ(video["nb_read_frames"].toString().toInt(), frames);
    EXPECT_EQ(video["nb_frames"].toString().toInt(), frames);
    const QJsonObject audio = streams[1].toObject();
    EXPECT_EQ(audio["codec_name"].toString(), QString("pcm_s24le"));
    EXPECT_EQ(audio["sample_rate"].toString(), QString("48000"));
    EXPECT_EQ(streams[2].toObject()["codec_tag_string"].toString(), QString("tmcd"));
    EXPECT_FALSE(streams[2].toObject()["tags"].toObject()["timecode"].toString().isEmpty());

    const ProgramResult decode =
        runProgram("ffmpeg", {"-v", "warning", "-i", clip, "-f", "null", "-"}, 120000);
    EXPECT_EQ(decode.err, QByteArray()) << "ffmpeg warns while it decodes";
    const ProgramResult info = runProgram("mediainfo", {"--Inform=Video;%FrameCount%", clip});
    EXPECT_EQ(info.out.trimmed().toInt(), frames) << "mediainfo";
    const ProgramResult gst =
        runProgram("gst-launch-1.0",
                   {"-v", "filesrc", "location=" + clip, "!", "qtdemux", "name=d", "d.video_0", "!", "queue",
                    "!", "avdec_prores", "!", "identity", "silent=false", "!", "fakesink"},
                   120000);
    EXPECT_EQ(gst.status, 0) << gst.err.toStdString();
    EXPECT_EQ(gst.out.count("identity0: last-message = chain"), frames) << "GStreamer";
}
} // namespace

TEST(Record, aTakeOfTheGeneratorHoldsEveryFrameOnce)
{
    Sandbox sandbox;
    sandbox.setProfile(generator1080);
    const ProgramResult result = sandbox.run("xpctl --json record --for 4; cp /media/A/*.mov $OUT/take.mov");
    ASSERT_EQ(result.status, 0) << result.err.toStdString();
    const int frames = jsonField(result.out, "frames").toInt();
    EXPECT_NEAR(frames, 100, 5);
    const auto strips = stripsOf(sandbox.out("take.mov"));
    EXPECT_EQ(strips.size(), frames);
    EXPECT_EQ(brokenAt(strips), QString());
    expectOrdinaryClip(sandbox.out("take.mov"), frames);
}

TEST(Record, theSoundStandsWithThePictureToASample)
{
    Sandbox sandbox;
    sandbox.setProfile(generator576);
    const ProgramResult result = sandbox.run("xpctl record --for 3 >&2; cp /media/A/*.mov $OUT/take.mov");
    ASSERT_EQ(result.status, 0) << result.err.toStdString();
    const auto strips = stripsOf(sandbox.out("take.mov"));
    ASSERT_EQ(brokenAt(strips), QString());
    const ProgramResult sound = runProgram("ffmpeg", {"-v", "error", "-i", sandbox.out("take.mov"), "-map",
                                                      "0:a:0", "-af", "pan=mono|c0=c0", "-f", "s32le", "-"});
    constexpr int samplesPerFrame = 1920;
    const auto *samples = reinterpret_cast<const qint32 *>(sound.out.constData());
    const qsizetype count = sound.out.size() / qsizetype(sizeof(qint32));
    ASSERT_EQ(count, strips.size() * samplesPerFrame);
    int marks = 0;
    // Half a frame before and behind the first sample of each frame.
    for (qsizetype i = 1; i < strips.size(); ++i) {
        const int at =
            QmxStrip::findMark(samples + i * samplesPerFrame - samplesPerFrame / 2, samplesPerFrame, 1);
        if (*strips[i] % QmxStrip::markInterval != 0) {
            EXPECT_EQ(at, -1) << "a mark at frame " << i << ", count " << *strips[i];
            continue;
        }
        EXPECT_NEAR(at, samplesPerFrame / 2.0, 1) << "frame " << i << ", count " << *strips[i];
        ++marks;
    }
    EXPECT_GE(marks, 6);
}

TEST(Record, aLiveInputFromAnIndependentProgram)
{
    Sandbox sandbox;
    sandbox.setProfile("[inputs]\n601=none:\n602=udp://127.0.0.1:17602\n");
    const ProgramResult result = sandbox.run(R"sh(
        ffmpeg -v error -re -f lavfi -i testsrc2=size=1920x1080:rate=25 -f lavfi -i sine=frequency=1000:sample_rate=48000 \
            -c:v libx264 -preset ultrafast -tune zerolatency -g 25 -pix_fmt yuv420p -c:a aac -f mpegts \
            "udp://127.0.0.1:17602?pkt_size=1316" </dev/null &
        sender=$!
        xpctl set video_input 6
        tries=0
        while [ "$(xpctl get input_format)" != 1080p25 ]; do
            tries=$((tries + 1)); [ $tries -lt 400 ] || { xpctl get input_format; exit 9; }
            read -rt 0.05 <> <(:) || true
        done
        xpctl --json record --for 4
        kill $sender
        cp /media/A/*.mov $OUT/take.mov
        cat /run/xp/xpd.out >&2
    )sh");
    ASSERT_EQ(result.status, 0) << result.err.toStdString() << result.out.toStdString();
    const int frames = jsonField(result.out, "frames").toInt();
    EXPECT_GE(frames, 95) << result.err.toStdString();
    expectOrdinaryClip(sandbox.out("take.mov"), frames);
}

TEST(Record, aTakeWhoseRecorderIsKilledPlaysUpToWhatWasSafe)
{
    Sandbox sandbox;
    sandbox.setProfile(generator576);
    const ProgramResult result = sandbox.run(R"sh(
        xpctl record >&2
        tries=0
        while [ "$(xpctl --json status | sed -E 's/.*"recorded_up_to":([0-9]+).*/\1/')" -lt 60 ]; do
            tries=$((tries + 1)); [ $tries -lt 600 ] || exit 9
            read -rt 0.02 <> <(:) || true
        done
        xpctl --json status
        kill -KILL $(cat /run/xp/xpd.pid)
        cp /media/A/*.mov $OUT/take.mov
    )sh");
    ASSERT_EQ(result.status, 0) << result.err.toStdString();
    const int safe = jsonField(result.out, "recorded_up_to").toInt();
    const auto strips = stripsOf(sandbox.out("take.mov"));
    EXPECT_GE(strips.size(), safe);
    EXPECT_EQ(brokenAt(strips), QString());
}
