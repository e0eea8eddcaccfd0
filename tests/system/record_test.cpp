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
