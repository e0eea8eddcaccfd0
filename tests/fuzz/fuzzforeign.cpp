// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/clip/qmxclipreader.h"
#include "platform/qmx/device/tickschedule.h"
#include "tests/fuzz/fuzz.h"

#include <QProcess>

/// Any bytes, read as a file of another program; what it says of its rate drives the video clock for a day.

void Fuzz::writeSeeds(const QString &folder)
{
    const QList<QStringList> kinds{{"avi", "-c:v", "mjpeg"},     {"mov", "-c:v", "mpeg4"},
                                   {"mp4", "-c:v", "libx264"},   {"mkv", "-c:v", "mpeg2video"},
                                   {"ts", "-c:v", "mpeg2video"}, {"mxf", "-c:v", "mpeg2video"}};
    for (const QStringList &kind : kinds)
        QProcess::execute("ffmpeg",
                          QStringList{"-v", "error", "-f", "lavfi", "-i", "testsrc=s=32x32:r=25:d=0.2", "-f",
                                      "lavfi", "-i", "sine=d=0.2:r=48000"} +
                              kind.mid(1) + QStringList{folder + "/seed." + kind.front()});
}

extern "C" int LLVMFuzzerTestOneInput(const unsigned char *data, std::size_t size)
{
    static const QString path = Fuzz::scratchFile("input.mov");
    Fuzz::writeScratch(path, data, size);
    QmxClipReader reader;
    if (reader.open(path).isError()) return 0;
    QmxFrame frame;
    for (const qint64 number : {qint64(0), qint64(1), reader.info().frames / 2, reader.info().frames - 1})
        reader.readFrame(number, frame);
    const QmxVideoRate rate = reader.info().image.frameRate();
    Fuzz::mustHold(rate.isValid() && rate.toDouble() >= 1 && rate.toDouble() < 1001,
                   "a rate that can be played");
    TickSchedule schedule(0, rate);
    constexpr qint64 day = 86'400'000'000'000;
    for (const qint64 now : {day / 100, day / 2, day}) {
        for (int i = 0; i < 10; ++i) {
            const qint64 next = schedule.nextDeadline();
            Fuzz::mustHold(schedule.advance(next).missedFrames == 0 && schedule.nextDeadline() > next,
                           "ticks in order");
        }
        schedule.advance(now);
        Fuzz::mustHold(schedule.nextDeadline() > now && schedule.nextDeadline() <= now + 1'000'000'001,
                       "the next tick");
    }
    return 0;
}
