// SPDX-License-Identifier: GPL-3.0-or-later
// Lines of the transport that no other test makes come. (That all lines are those of the transport is seen at
// the end of each test: transportlines.h.)
#include "tests/transport/transportrig.h"

#include <QFile>
#include <QRegularExpression>

#include <unistd.h>

namespace {
constexpr char benchmarkFile[] = "/xpd_bench.txt";
using LogTest = TransportRig;
} // namespace

TEST_F(LogTest, settingsThatMakeNoSense)
{
    const std::pair<void (VtrObject::*)(const QmxId &), const char *> rows[] = {
        {&VtrObject::setVideoInputSource, "Video input source is invalid"},
        {&VtrObject::setAudioInputSource, "Audio input source is invalid"},
        {&VtrObject::setAudioInputLevel, "Audio input level is invalid"},
        {&VtrObject::setSyncSource, "Sync source is invalid"}};
    startUp();
    for (const auto &[set, line] : rows) {
        expectLog("vtrobject", line);
        (vtr().*set)(QmxId());
    }
}

TEST_F(LogTest, streamsThatAreNone)
{
    allowLog(QString());
    expectLog("vtrobject", "STREAM: Open for read failed");
    expectLog("vtrobject", "STREAM: Open for write failed");
    startUp();
    playbackDesc = recordDesc = QVariant(17);
    vtr().play();
    ASSERT_TRUE(runUntilMode(VtrMode::StandbyOff));
    vtr().record();
    ASSERT_TRUE(runUntilMode(VtrMode::StandbyOff));
}

TEST_F(LogTest, framesThatAreNone)
{
    allowLog(QString());
    const std::pair<const char *, std::function<QmxError(QmxFrame &)>> rows[] = {
        {"Image count (2) doesn't match the setup (1)",
         [](QmxFrame &frame) {
             frame.vids().append(frame.vids().first());
             return QmxError();
         }},
        {"Image 0 buffer is invalid",
         [](QmxFrame &frame) {
             QmxImage image(frame.vids().first().desc());
             image.setValid(true);
             frame.vids().first() = image;
             return QmxError();
         }},
        {"VIDEO DEVICE: Read Error", [](QmxFrame &) { return QmxError(EIO); }},
    };
    startUp();
    int take = 0;
    for (const auto &[line, fault] : rows) {
        expectLog("vtrobject", line);
        beginTake(QStringLiteral("%1.mov").arg(++take), 3);
        board->onRead = fault;
        ASSERT_TRUE(runUntilMode(VtrMode::StandbyOff)) << line;
        board->onRead = nullptr;
    }
}

TEST_F(LogTest, intervalsThatAreNone)
{
    expectLog("vtrobject", "Record interval total is zero!");
    expectLog("vtrobject", "Interval total is less than 1");
    startUp();
    vtr().setIntervalRecordEnable(true);
    for (const int frames : {0, 60}) {
        vtr().setRecordInterval(frames);
        recordClip(QStringLiteral("%1.mov").arg(frames), 2);
    }
}

TEST_F(LogTest, figures)
{
    const bool isWritable = ::access("/", W_OK) == 0;
    if (!isWritable) expectLog("vtrobject", "Failed to open benchmark file: ");
    QFile::remove(benchmarkFile);
    startUp();
    vtr().enableStreamBenchmark();
    vtr().logStats();
    EXPECT_EQ(logged().filter("STM: ").size(), 1);
    recordClip("clip.mov", 12);
    playClip("clip.mov");
    Stepper::runMs(1000);
    if (!isWritable) return;
    EXPECT_EQ(logged().filter("Benchmark file opened: ").size(), 1);
    shutDown(); // which writes what is still in memory
    const QList<QByteArray> rows = readAll(benchmarkFile).trimmed().split('\n');
    EXPECT_GT(rows.size(), 20) << "one for every frame that a disk took or gave";
    for (const QByteArray &row : rows)
        ASSERT_TRUE(QRegularExpression("^\\d+ \\d+\\.\\d{6}$").match(row).hasMatch()) << row.toStdString();
    QFile::remove(benchmarkFile);
}
