// SPDX-License-Identifier: GPL-3.0-or-later
// A take from the keyboard to a file that other programs open.
#include "tests/support/print.h"
#include "tests/system/mediarig.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <gtest/gtest.h>

namespace {

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

TEST(Record, aTakeOfTheGeneratorHoldsEveryFrameOnceWithItsSound)
{
    Sandbox sandbox;
    sandbox.setProfile("[inputs]\n601=generator:?rate=25&size=1920x1080\n");
    const ProgramResult result = sandbox.run("xpctl --json record --for 4; cp /media/A/*.mov $OUT/take.mov");
    const int frames = jsonField(result.out, "frames").toInt();
    EXPECT_EQ(frames, 100) << "its end is exact, however soon the command for it comes";
    QList<int> found;
    EXPECT_EQ(brokenTake({sandbox.out("take.mov")}, 25, 1, &found), QString());
    EXPECT_EQ(found, QList<int>{frames});
    expectOrdinaryClip(sandbox.out("take.mov"), frames);
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
        await is input_format 1080p25
        xpctl --json record --for 4
        kill $sender
        cp /media/A/*.mov $OUT/take.mov
        cat /run/xp/xpd.out >&2
    )sh");
    const int frames = jsonField(result.out, "frames").toInt();
    EXPECT_GE(frames, 95) << result.err.toStdString();
    expectOrdinaryClip(sandbox.out("take.mov"), frames);
}

TEST(Record, sixteenChannelsComeFromTheInputIntoTheClip)
{
    Sandbox sandbox;
    sandbox.setProfile("[device]\naudio_channels=16\n"
                       "[inputs]\n601=generator:?rate=25&size=720x576&scan=i&channels=16&tone=900\n"
                       "[outputs]\npicture=preview:\n");
    const ProgramResult result = sandbox.run(R"sh(
        xpctl set audio_channels eight
        xpctl --json record --for 2
        xpctl play --wait >&2
        cp /media/A/*.mov $OUT/take.mov
        xpctl --json info take_001.mov
    )sh");
    EXPECT_EQ(jsonField(result.out.trimmed().split('\n').last(), "audio_channels").toInt(), 16)
        << result.err.toStdString();
    EXPECT_EQ(streamsOf(sandbox.out("take.mov"))[1].toObject()["channels"].toInt(), 16);
    for (int channel = 0; channel < 16; ++channel) {
        const QString filter = QStringLiteral("pan=mono|c0=c%1,volumedetect").arg(channel);
        const ProgramResult level = runProgram(
            "ffmpeg", {"-i", sandbox.out("take.mov"), "-vn", "-af", filter, "-f", "null", "-"}, 60000);
        const QByteArray mean = level.err.mid(level.err.indexOf("mean_volume: ") + 13).split(' ').first();
        constexpr double tone = -20; // dB
        EXPECT_NEAR(mean.toDouble(), tone, 3) << channel << level.err.toStdString();
    }
}
