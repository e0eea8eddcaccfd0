// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/clip/cliptake.h"
#include "tests/support/testfiles.h"

#include <gtest/gtest.h>

#include <QFileInfo>
#include <QStandardPaths>

namespace {

struct Case
{
    const char *name;
    ClipTake::Format format;
    int frames;
    const char *tag;
    const char *timecode;
};

const Case cases[] = {
    {"interlaced drop frame stereo",
     {1920, 1080, 30000, 1001, 203, 1, 2, true, 107892},
     40,
     "apch",
     "01:00:00;00"},
    {"film rate, segmented, no sound",
     {256, 128, 24000, 1001, 205, 2, 0, false, 24},
     70,
     "apco",
     "00:00:01:00"},
    {"uncompressed, eight channels, drop frame where the rate has none",
     {720, 576, 25, 1, 231, 1, 8, true, 90000},
     30,
     "v210",
     "01:00:00:00"},
    {"4444 at 60", {640, 360, 60, 1, 206, 0, 2, false, 0}, 61, "ap4h", "00:00:00:00"},
};

class ClipPrograms : public testing::TestWithParam<int>
{
protected:
    void SetUp() override
    {
        const Case &now = cases[GetParam()];
        take = std::make_unique<ClipTake>(now.format, true);
        take->jump(17, 500); // within a fragment
        take->make(dir.file("open.mov"), now.frames, false);
        take->make(dir.file("closed.mov"), now.frames, true);
    }
    TestDir dir;
    std::unique_ptr<ClipTake> take;
};

} // namespace

TEST_P(ClipPrograms, PlayOpenAndClosedClipsWithoutAWarning)
{
    const Case &now = cases[GetParam()];
    for (const QString &name : {dir.file("open.mov"), dir.file("closed.mov")}) {
        SCOPED_TRACE(qPrintable(QString::fromUtf8(now.name) + ' ' + name));
        auto probe = runProgram("ffprobe",
                                {"-v", "warning", "-count_packets", "-select_streams", "v", "-show_entries",
                                 "stream=codec_tag_string,nb_read_packets,r_frame_rate:stream_tags=timecode",
                                 "-of", "csv=p=0", name});
        // ffprobe says so of every timecode track, whoever wrote it.
        probe.err.replace("Unsupported codec with id 0 for input stream 2\n", "");
        probe.err.replace("Unsupported codec with id 0 for input stream 1\n", "");
        EXPECT_EQ(probe.err, "");
        EXPECT_EQ(probe.out.trimmed(), QByteArray(now.tag) + ',' + QByteArray::number(now.format.rateNum) +
                                           '/' + QByteArray::number(now.format.rateDen) + ',' +
                                           QByteArray::number(now.frames) + ',' + now.timecode);

        auto decode =
            runProgram("ffmpeg", {"-v", "warning", "-i", name, "-map", "0:v", "-f", "framemd5", "-"});
        // Nothing else: eight channels are told without their places.
        const QByteArrayList warnings = decode.err.trimmed().split('\n');
        for (const QByteArray &line : warnings)
            EXPECT_TRUE(line.isEmpty() || line.contains("Guessed Channel Layout")) << line.constData();
        EXPECT_EQ(decode.out.count("\n0,"), now.frames);
        if (now.format.channels > 0) {
            const auto sound =
                runProgram("ffmpeg", {"-v", "error", "-i", name, "-map", "0:a", "-f", "s24le", "-"});
            EXPECT_TRUE(sound.out == take->soundBytes(now.frames)) << "the sound is not the one written";
        }

        const QString demuxed = dir.file("pictures");
        const auto gst =
            runProgram("gst-launch-1.0", {"-q", "filesrc", "location=" + name, "!", "qtdemux", "name=d",
                                          "d.video_0", "!", "filesink", "location=" + demuxed});
        EXPECT_EQ(gst.status, 0) << gst.err.constData();
        EXPECT_EQ(QFileInfo(demuxed).size(), take->pictureBytes(now.frames));

        const auto media =
            runProgram("mediainfo", {"--Output=Other;%TimeCode_FirstFrame% %TimeCode_LastFrame%", name});
        // Versions differ in which timecode of the last run they take for the last.
        const QByteArrayList timecodes = media.out.trimmed().split(' ');
        const auto asRead = [&now](const QmxTimecode &timecode) {
            return timecode.toString().replace(';', now.timecode[8]).toUtf8();
        };
        EXPECT_EQ(timecodes.first(), now.timecode);
        EXPECT_GE(timecodes.last(), asRead(take->timecode(17)));
        EXPECT_LE(timecodes.last(), asRead(take->timecode(now.frames - 1)));
        const auto count =
            runProgram("mediainfo", {"--Output=Video;%FrameCount% %ScanOrder% %IsTruncated%", name});
        EXPECT_EQ(count.out.trimmed(),
                  QByteArray::number(now.frames) + (now.format.scanMode == 1 ? " TFF" : ""));
    }
}

TEST_P(ClipPrograms, PlayInPlayers)
{
    if (QStandardPaths::findExecutable("mpv").isEmpty() || QStandardPaths::findExecutable("melt").isEmpty())
        GTEST_SKIP() << "mpv and melt are not installed";
    const Case &now = cases[GetParam()];
    for (const QString &name : {dir.file("open.mov"), dir.file("closed.mov")}) {
        SCOPED_TRACE(qPrintable(QString::fromUtf8(now.name) + ' ' + name));
        const QString shown = dir.file("shown");
        const auto mpv = runProgram("mpv", {"--no-config", "--really-quiet", "--no-audio", "--vf=format=gray",
                                            "--of=rawvideo", "--ovc=rawvideo", "--o=" + shown, name});
        EXPECT_EQ(mpv.status, 0) << mpv.err.constData();
        EXPECT_EQ(QFileInfo(shown).size(), qint64(now.format.width) * now.format.height * now.frames);
        const auto melt = runProgram("melt", {name, "-consumer", "xml"});
        const QByteArray length =
            "<property name=\"length\">" + QByteArray::number(now.frames) + "</property>";
        EXPECT_TRUE(melt.out.contains(length)) << melt.out.constData();
        const auto played =
            runProgram("melt", {"-silent", name, "-consumer", "null", "real_time=0", "terminate_on_pause=1"});
        EXPECT_EQ(played.status, 0);
    }
}

INSTANTIATE_TEST_SUITE_P(Formats, ClipPrograms, testing::Range(0, int(std::size(cases))));
