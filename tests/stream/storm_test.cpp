// SPDX-License-Identifier: GPL-3.0-or-later
// Commands faster than they can be carried out. Under the thread sanitizer this is where races would show.
#include "platform/qmx/clip/qmxclipreader.h"
#include "tests/stream/streamrig.h"

#include <QDir>

#include <random>

TEST(Storm, seeksEndOnTheFrameAskedForLast)
{
    const TestDir dir;
    const QString path = dir.file("clip.mov");
    constexpr int length = 300, rounds = 250;
    makeClip(path, length);
    StreamRig rig;
    ASSERT_EQ(rig.openForRead(path), 0);
    std::mt19937 chance(4);
    const auto draw = [&chance](int bound) { return int(chance() % unsigned(bound)); };
    constexpr double speeds[] = {1, -1, 0.5, -7.25, 20, -100, 2};
    for (int round = 0; round < rounds; ++round) {
        int target = 0;
        for (int seeks = 1 + draw(6); seeks > 0; --seeks) {
            target = draw(length);
            rig.cache.seek(target);
            if (draw(3) == 0) rig.cache.setSpeed(speeds[draw(int(std::size(speeds)))]);
            if (draw(2) == 0) rig.cache.read();
            if (draw(2) == 0) Stepper::deliver();
            rig.cache.seek(target);
        }
        ASSERT_TRUE(Stepper::runUntil([&rig] { return rig.cache.framesInCache() > 0; })) << round;
        ASSERT_EQ(numberOf(rig.cache.read()), target) << round;
    }
    rig.close();
}

TEST(Storm, startsAndStopsLeaveOnlyWholeClips)
{
    const TestDir dir;
    StreamRig rig;
    std::mt19937 chance(5);
    QMap<QString, int> wanted;
    int abandoned = 0;
    const auto open = [&rig](const QString &path) {
        rig.describe(path);
        return rig.stream.open(QmxStream::Write);
    };
    for (int round = 0; round < 60; ++round) {
        const QString path = dir.file(QStringLiteral("take_%1.mov").arg(round));
        if (chance() % 4 == 0) {
            // An open that nobody waits for, closed or opened over at once.
            ASSERT_TRUE(open(path));
            if (chance() % 2) rig.stream.close();
            if (chance() % 2) Stepper::deliver();
            ++abandoned;
            continue;
        }
        ASSERT_TRUE(open(path));
        ASSERT_TRUE(Stepper::runUntil([&rig] { return rig.stream.isOpen(); })) << round;
        const int frames = 1 + int(chance() % 30);
        rig.record(0, frames);
        wanted[path] = frames;
        if (chance() % 2) Stepper::runTicks(int(chance() % 10));
        rig.stream.close();
        if (chance() % 2) {
            ASSERT_TRUE(Stepper::runUntil([&rig] { return rig.stream.isClosed(); }));
        }
    }
    ASSERT_TRUE(Stepper::runUntil([&rig] { return !rig.stream.isOpening() && !rig.stream.isClosing(); }));
    if (!rig.stream.isClosed()) rig.close();
    EXPECT_GT(abandoned, 5);
    for (auto take = wanted.begin(); take != wanted.end(); ++take) {
        QmxClipReader reader;
        ASSERT_FALSE(reader.open(take.key()).isError()) << take.key().toStdString();
        EXPECT_TRUE(reader.info().closed);
        EXPECT_EQ(reader.info().frames, *take) << take.key().toStdString();
    }
}
