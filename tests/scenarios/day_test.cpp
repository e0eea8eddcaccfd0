// SPDX-License-Identifier: GPL-3.0-or-later
// A recorder that is left on: each hour it stands by, plays a clip in a loop and records. `./xp check day
// --long` takes a whole day of it, the ordinary run a few minutes.
#include "platform/qmx/core/qmxbuffer.h"
#include "tests/scenarios/recorderrig.h"
#include "tests/support/rounds.h"

#include <QFile>

#include <unistd.h>

namespace {
using Day = RecorderRig;

/// Memory of this process, in megabytes.
double residentMegabytes()
{
    QFile file(QStringLiteral("/proc/self/statm"));
    if (!file.open(QIODevice::ReadOnly)) return 0;
    return file.readAll().split(' ').value(1).toDouble() * double(sysconf(_SC_PAGESIZE)) / (1 << 20);
}
} // namespace

TEST_F(Day, nothingDriftsLeaksOrGrows)
{
    const int hours = testRounds(2, 24);
    const int hourMs = testRounds(24 * 1000, 3600 * 1000);
    begin();
    write(eParam_RecordCodec, QStringLiteral("3")); // the smallest
    write(eParam_LoopPlayback, QStringLiteral("1"));
    pass(1000);

    qint64 heldBytes = 0;
    double memory = 0;
    for (int hour = 0; hour < hours; ++hour) {
        SCOPED_TRACE(hour);
        pass(hourMs / 3);
        takeShown();
        const QString path = record(hourMs / 6);
        takeShown();
        const Take take = Take::read(path);
        take.expectWhole(); // picture, sound and timecode frame by frame: no drift between them
        ASSERT_GE(take.frames(), hourMs / 6 / tickMs);

        enterStill();
        takeShown();
        speed(QStringLiteral("1"));
        qint64 previous = -1;
        int shownFrames = 0;
        constexpr int parts = 10; // so that what was shown does not pile up here
        for (int part = 0; part < parts; ++part) {
            pass(hourMs / 2 / parts);
            const QList<Shown> seen = takeShown();
            for (const Shown &one : seen) {
                if (one.frame < 0) continue;
                ASSERT_EQ(one.strip, take.strips.at(one.frame));
                if (previous >= 0 && one.frame != previous) {
                    ASSERT_EQ(one.frame, (previous + 1) % take.frames())
                        << "after " << shownFrames << " frames";
                    ++shownFrames;
                }
                previous = one.frame;
            }
        }
        // The end frame of each round stands for two ticks.
        const int ticks = hourMs / 2 / tickMs;
        EXPECT_GT(shownFrames, ticks - ticks / take.frames() - 40) << "the loop stood still";
        ASSERT_TRUE(stop() || stop()); // the first one may only hold the picture
        ASSERT_EQ(files->unlink(path), 0);
        pass(2000);
        takeShown();

        if (hour == 0) {
            heldBytes = QmxBufferData::bytesInUse();
            memory = residentMegabytes();
        }
        EXPECT_LE(QmxBufferData::bytesInUse(), heldBytes + heldBytes / 10) << "picture memory is held";
        EXPECT_LE(residentMegabytes(), memory + 64);
    }
    EXPECT_EQ(counter(QmxCounters::FramesDroppedCapture), 0);
    EXPECT_EQ(counter(QmxCounters::FramesDroppedPlayback), 0);
    quit();
    EXPECT_EQ(QmxBufferData::bytesInUse(), 0) << "all picture memory comes back";
}
