// SPDX-License-Identifier: GPL-3.0-or-later
// An edit controller's session with the real deck, inside a sandbox: what it asks for is seen on the preview,
// by the strip of the picture that is shown. Ports: tcp:9901 (record=on), tcp:9902, /dev/shm/tty9pin
// (record=on).
#include "platform/qmx/core/qmxtakewindow.h"
#include "platform/qmx/core/qmxtimecode.h"
#include "platform/qmx/edges/qmxpreview.h"
#include "platform/qmx/edges/qmxstrip.h"
#include "tests/ninepincontroller/ninepincontroller.h"

#include <QFile>
#include <QProcess>

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <functional>
#include <thread>
#include <utility>

#include <unistd.h>

namespace {
using Clock = std::chrono::steady_clock;
constexpr int rate = 25;
constexpr auto patience = std::chrono::seconds(20);

struct Shown
{
    qint64 tick = 0;
    qint64 strip = -1;
};

class Session : public testing::Test
{
protected:
    Shown shown()
    {
        QmxPreviewPicture picture;
        if (!_preview.read(picture)) _preview.open();
        const auto strip = QmxStrip::readLuma8(reinterpret_cast<const uchar *>(picture.luma.constData()),
                                               picture.width, picture.height, picture.width);
        return {picture.tick, strip ? qint64(*strip) : -1};
    }
    /// The picture of a tick that has just begun, or of a later one. (The preview is behind by as much as the
    /// machine is busy.)
    Shown fresh()
    {
        const qint64 tick = shown().tick;
        const auto now = clock.now();
        await([&] { return shown().tick > std::max(tick, now ? now->index : -1); });
        return shown();
    }
    static bool await(const std::function<bool()> &holds)
    {
        const auto end = Clock::now() + patience;
        while (!holds()) {
            if (Clock::now() > end) return false;
            std::this_thread::sleep_for(std::chrono::milliseconds(2));
        }
        return true;
    }
    bool awaitStrip(qint64 wanted)
    {
        return await([&] { return shown().strip == wanted; });
    }
    bool awaitBit(int byte, int bit, bool value = true)
    {
        return await([&] { return deck.status().bit(byte, bit) == value; });
    }
    static QByteArray xpctl(const QStringList &arguments)
    {
        QProcess program;
        program.start("xpctl", arguments);
        program.waitForFinished(60000);
        EXPECT_EQ(program.exitCode(), 0)
            << arguments.join(' ').toStdString() << program.readAllStandardError().toStdString();
        return program.readAllStandardOutput();
    }
    /// Asked for in counts of the material: frame 0 shows the strip `first`.
    static QByteArray timeOf(qint64 frame)
    {
        const QmxTimecode time = start.advanced(int(frame));
        return NinepinController::timeData(time.hours(), time.minutes(), time.seconds(), time.frames());
    }
    void cueTo(qint64 frame)
    {
        EXPECT_TRUE(deck.ask(0x2031, timeOf(frame)).isAck());
        EXPECT_TRUE(awaitBit(2, 0)) << deck.status().hex().toStdString();
        EXPECT_TRUE(awaitStrip(first + frame)) << shown().strip - first << " in place of " << frame;
    }
    /// Strips a tick, over some ticks.
    double measuredSpeed(int ticks)
    {
        const Shown a = fresh();
        await([&] { return shown().tick >= a.tick + ticks; });
        const Shown b = shown();
        return double(b.strip - a.strip) / double(b.tick - a.tick);
    }
    static QString newestClip()
    {
        const QList<QByteArray> lines = xpctl({"clips"}).trimmed().split('\n');
        return "/media/A/" + QString::fromUtf8(lines.last()).simplified().section(' ', 1, 1);
    }

    NinepinController deck{NinepinController::tcp(9901)};
    QmxTakeWindow::Client clock;
    static inline qint64 first = 0;  ///< strip of the material's first frame
    static inline QmxTimecode start; ///< its timecode
    static inline qint64 length = 0;

private:
    QmxPreviewReader _preview;
};

TEST_F(Session, 01_findsADeckAndItsMaterial)
{
    ASSERT_TRUE(deck.isOpen());
    EXPECT_EQ(deck.ask(0x0011).hex(), "12 11 21 25 69");
    EXPECT_TRUE(awaitBit(1, 5)) << "stopped";
    EXPECT_TRUE(deck.ask(0x2013, QByteArray(1, '\0')).isAck()) << "shuttle at 0: the way into a picture";
    ASSERT_TRUE(awaitBit(2, 1)) << "still";
    xpctl({"cue", "0"});
    ASSERT_TRUE(awaitBit(2, 1));
    const auto time = deck.time(0x600C, QByteArray(1, 2));
    ASSERT_TRUE(time);
    start = QmxTimecode(time->hours, time->minutes, time->seconds, time->frames, rate, false);
    first = fresh().strip;
    length = 200;
    EXPECT_GE(first, 0);
}

TEST_F(Session, 02_cuesAndSeesItArrive)
{
    for (const qint64 frame : {50, 120, 7}) {
        EXPECT_TRUE(deck.ask(0x2031, timeOf(frame)).isAck());
        EXPECT_TRUE(deck.status().bit(4, 0)) << "running, from the reply on";
        // Each 5 ms: running, or arrived with both bits.
        EXPECT_TRUE(await([&] {
            const NinepinStatus status = deck.status();
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
            EXPECT_NE(status.bit(4, 0), status.bit(2, 0)) << status.hex().toStdString();
            EXPECT_EQ(status.bit(4, 0), !status.bit(2, 0) || !status.bit(2, 1)) << status.hex().toStdString();
            return !status.bit(4, 0);
        }));
        EXPECT_EQ(fresh().strip, first + frame);
        const auto time = deck.time(0x600C, QByteArray(1, 1));
        ASSERT_TRUE(time);
        EXPECT_EQ(time->text().toStdString(), start.advanced(int(frame)).toString().toStdString());
    }
    EXPECT_TRUE(deck.ask(0x2031, timeOf(100000)).isAck());
    EXPECT_TRUE(awaitBit(4, 0, false));
    EXPECT_FALSE(deck.status().bit(2, 0)) << "nowhere";
}

TEST_F(Session, 03_movesAtEverySpeedThereIs)
{
    const auto n = [](double speed) { return QByteArray(1, char(NinepinController::byteFor(speed))); };
    struct Row
    {
        int command;
        QByteArray data;
        double speed;
        int byte, bit;
    };
    const Row rows[] = {
        {0x2001, {}, 1.0, 1, 0},
        {0x2013, n(2), 2.0, 2, 5},
        {0x2023, n(2), -2.0, 2, 5},
        {0x2012, n(0.5), 0.5, 2, 3},
        {0x2022, n(1), -1.0, 2, 3},
        {0x2011, n(0.25), 0.25, 2, 4},
        {0x2021, n(0.5), -0.5, 2, 4},
        {0x2034, {}, 1.0, 1, 0},
        {0x2038, QByteArray(1, 100), 1.1, 2, 6},
        {0x2039, QByteArray(1, 100), 0.9, 2, 6},
    };
    for (const Row &row : rows) {
        cueTo(100);
        EXPECT_TRUE(deck.ask(row.command, row.data).isAck()) << std::hex << row.command;
        EXPECT_TRUE(awaitBit(row.byte, row.bit))
            << std::hex << row.command << deck.status().hex().toStdString();
        EXPECT_FALSE(deck.status().bit(2, 0)) << "a motion ends the arrival";
        EXPECT_TRUE(await([&] { return shown().strip != first + 100; }));
        EXPECT_NEAR(measuredSpeed(20), row.speed, 0.11) << std::hex << row.command;
        EXPECT_EQ(deck.status().bit(2, 2), row.speed < 0) << "direction";
    }
    cueTo(60);
    EXPECT_TRUE(deck.ask(0x2010).isAck()) << "fast forward";
    EXPECT_TRUE(await([&] { return shown().strip > first + 150; }));
    EXPECT_TRUE(deck.ask(0x2020).isAck()) << "rewind";
    EXPECT_TRUE(await([&] { return shown().strip < first + 50; }));
}

TEST_F(Session, 04_stepsStopsAndStands)
{
    cueTo(80);
    for (const int step : {1, 1, -1, 1, -1, -1}) {
        const qint64 before = fresh().strip;
        EXPECT_TRUE(deck.ask(step > 0 ? 0x2014 : 0x2024).isAck());
        EXPECT_TRUE(awaitStrip(before + step)) << shown().strip - first;
    }
    EXPECT_TRUE(deck.ask(0x2004).isAck());
    EXPECT_FALSE(deck.status().bit(1, 7));
    EXPECT_TRUE(deck.ask(0x2005).isAck());
    EXPECT_TRUE(deck.status().bit(1, 7)) << "standby";
    EXPECT_TRUE(deck.ask(0x2000).isAck());
    EXPECT_TRUE(awaitBit(1, 5)) << "stop";
    EXPECT_TRUE(deck.ask(0x200F).isAck());
    EXPECT_TRUE(deck.status().bit(1, 4)) << "eject";
}

TEST_F(Session, 05_keepsEditPointsAndRollsBeforeThem)
{
    cueTo(150);
    EXPECT_TRUE(deck.ask(0x4010).isAck());
    EXPECT_TRUE(deck.ask(0x4018).isAck());
    EXPECT_TRUE(deck.ask(0x4018).isAck());
    EXPECT_TRUE(deck.ask(0x4019).isAck());
    EXPECT_TRUE(deck.ask(0x4015, timeOf(175)).isAck());
    EXPECT_TRUE(deck.ask(0x401B).isAck());
    const auto at = [](qint64 frame) { return start.advanced(int(frame)).toString().toStdString(); };
    EXPECT_EQ(deck.time(0x6010)->text().toStdString(), at(151));
    EXPECT_EQ(deck.time(0x6011)->text().toStdString(), at(174));
    EXPECT_TRUE(deck.status().bit(3, 0) && deck.status().bit(3, 1));
    EXPECT_TRUE(deck.ask(0x4031, QByteArray::fromHex("00020000")).isAck()) << "two seconds";
    EXPECT_TRUE(deck.ask(0x2030).isAck()) << "preroll";
    EXPECT_TRUE(awaitBit(2, 0));
    EXPECT_TRUE(awaitStrip(first + 101));
    EXPECT_TRUE(deck.ask(0x2041).isAck()) << "review plays through both points";
    EXPECT_TRUE(awaitBit(4, 3));
    EXPECT_TRUE(await([&] { return shown().strip > first + 174; }));
    EXPECT_TRUE(awaitBit(7, 0, false));
    EXPECT_TRUE(awaitBit(4, 3, false));
    EXPECT_TRUE(deck.ask(0x2040).isAck()) << "preview shows the input between them";
    EXPECT_TRUE(await([&] { return shown().strip > first + 250; }));
    EXPECT_TRUE(awaitBit(4, 1, false));
    EXPECT_TRUE(await([&] { return shown().strip < first + 250; }));
}

TEST_F(Session, 06_showsTheInputOnDemand)
{
    cueTo(10);
    for (const int on : {0x2061, 0x2063}) {
        EXPECT_TRUE(deck.ask(on).isAck());
        EXPECT_TRUE(await([&] { return shown().strip > first + 300; })) << "the input runs on";
        EXPECT_TRUE(deck.status().bit(4, on == 0x2061 ? 6 : 7));
        EXPECT_TRUE(deck.ask(0x2060).isAck());
        EXPECT_TRUE(awaitStrip(first + 10));
    }
}

/// The answer is taken between two looks at the video clock: it may speak of these frames, of those between
/// them and of the one beside them. (The picture comes to the preview when the machine has time for that.)
TEST_F(Session, 06_tellsWhatBelongsToTheFrameThatIsShown)
{
    constexpr qint64 in = 60, out = 90, end = 120, beside = 1;
    EXPECT_TRUE(deck.ask(0x4014, timeOf(in)).isAck());
    EXPECT_TRUE(deck.ask(0x4015, timeOf(out)).isAck());
    cueTo(in - 20);
    EXPECT_TRUE(deck.ask(0x2001).isAck());
    ASSERT_TRUE(awaitBit(1, 0));
    qint64 farthest = 0;
    int answers = 0, wrong = 0;
    const auto frame = [&] {
        const auto now = clock.now();
        return now ? now->frame : -1;
    };
    ASSERT_TRUE(await([&] { return frame() >= in - 20; }));
    for (qint64 before = frame(); before < end; before = frame()) {
        const bool isInside = deck.status().bit(7, 0);
        const auto time = deck.time(0x600C, QByteArray(1, 1));
        const qint64 after = frame();
        ASSERT_TRUE(time);
        const qint64 told = QmxTimecode(time->hours, time->minutes, time->seconds, time->frames, rate, false)
                                .toFrameNumber() -
                            start.toFrameNumber();
        farthest = std::max({farthest, before - told, told - after});
        bool fits = false;
        for (qint64 at = before - beside; at <= after + beside; ++at)
            fits = fits || isInside == (at >= in && at < out);
        wrong += !fits;
        ++answers;
    }
    std::printf("%d answers, at most %lld frames from the clock\n", answers, (long long)farthest);
    EXPECT_GT(answers, 50);
    EXPECT_EQ(wrong, 0);
    EXPECT_LE(farthest, beside);
}

/// The strips of the takes say which frames they hold; the test compares them with what is written here.
/// Between the two looks at the clock lies the command: on a machine that is quick enough they are of one
/// frame.
TEST_F(Session, 07_editsExactlyToTheFrame)
{
    constexpr int delay = 5;
    QFile expected(qEnvironmentVariable("OUT") + "/edits");
    ASSERT_TRUE(expected.open(QIODevice::WriteOnly));
    EXPECT_TRUE(deck.ask(0x2000).isAck());
    ASSERT_TRUE(awaitBit(1, 5));
    // The input runs on the output again: a picture that is held would tell another count.
    Shown seen = fresh();
    ASSERT_TRUE(await([&] {
        const Shown before = std::exchange(seen, fresh());
        return before.strip >= 0 && seen.strip - before.strip == seen.tick - before.tick;
    }));
    const auto strip = [&] { return clock.now()->index - seen.tick + seen.strip; };
    ASSERT_TRUE(clock.now());
    const auto command = [&](int code) {
        const qint64 before = strip();
        EXPECT_TRUE(deck.ask(code).isAck());
        expected.write(QStringLiteral(" %1 %2").arg(before + delay).arg(strip() + delay).toUtf8());
        return before + delay;
    };
    QString clip = newestClip();
    for (const int frames : {30, 1, 60}) {
        const qint64 now = strip();
        await([&] { return strip() != now; });
        const qint64 in = command(0x2065);
        await([&] { return strip() >= in + frames - delay; });
        command(0x2064);
        ASSERT_TRUE(awaitBit(1, 1, false));
        ASSERT_TRUE(awaitBit(1, 5)) << deck.status().hex().toStdString();
        EXPECT_FALSE(deck.status().bit(9, 7)) << "aborted";
        // (The list follows the transport.)
        const QString before = clip;
        ASSERT_TRUE(await([&] { return (clip = newestClip()) != before; }));
        expected.write(QStringLiteral(" %1\n").arg(clip.section('/', -1)).toUtf8());
    }
}

TEST_F(Session, 08_editsByItselfBetweenItsPoints)
{
    xpctl({"clip", "take_001.mov"});
    cueTo(100);
    EXPECT_TRUE(deck.ask(0x4014, timeOf(120)).isAck());
    EXPECT_TRUE(deck.ask(0x4015, timeOf(133)).isAck());
    EXPECT_TRUE(deck.ask(0x4031, QByteArray::fromHex("00020000")).isAck());
    EXPECT_TRUE(deck.ask(0x2042).isAck());
    EXPECT_TRUE(deck.status().bit(4, 2)) << "auto edit";
    EXPECT_TRUE(awaitBit(4, 4)) << "it records";
    ASSERT_TRUE(awaitBit(4, 2, false));
    ASSERT_TRUE(awaitBit(1, 5));
    EXPECT_FALSE(deck.status().bit(9, 7)) << "aborted";
    EXPECT_TRUE(xpctl({"clips"}).trimmed().endsWith(" 13 frames")) << xpctl({"clips"}).constData();
}

TEST_F(Session, 09_obeysWhoIsInControl)
{
    NinepinController listener(NinepinController::tcp(9901));
    EXPECT_EQ(listener.ask(0x0011).hex(), "12 11 21 25 69");
    EXPECT_TRUE(listener.status().isValid());
    EXPECT_EQ(listener.ask(0x2001).nak(), 1) << "the first one operates";
    NinepinController careful(NinepinController::tcp(9902));
    EXPECT_EQ(careful.ask(0x2002).nak(), 1) << "no record without record=on";
    EXPECT_TRUE(careful.status().bit(8, 0)) << "record inhibit";
    xpctl({"local"});
    EXPECT_TRUE(awaitBit(0, 0));
    EXPECT_EQ(deck.ask(0x2001).nak(), 1);
    EXPECT_EQ(deck.ask(0x4010).nak(), 1);
    EXPECT_TRUE(deck.time(0x600C, QByteArray(1, 1)));
    xpctl({"remote"});
    EXPECT_TRUE(awaitBit(0, 0, false));
    // A take that this port began is its own to end; another port's stop is refused.
    EXPECT_TRUE(deck.ask(0x4004, NinepinController::timeData(10, 20, 30, 12)).isAck());
    EXPECT_TRUE(deck.ask(0x2002).isAck());
    ASSERT_TRUE(awaitBit(1, 1)) << "record, with its first frame";
    EXPECT_TRUE(await([&] { return deck.time(0x600C, QByteArray(1, 1))->text().startsWith("10:20:3"); }))
        << "as it was preset";
    EXPECT_TRUE(careful.ask(0x2000).isAck());
    EXPECT_TRUE(careful.ask(0x2001).isAck());
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    EXPECT_TRUE(deck.status().bit(1, 1)) << "the take goes on";
    EXPECT_TRUE(deck.ask(0x2000).isAck());
    EXPECT_TRUE(awaitBit(1, 5));
}

TEST_F(Session, 10_livesWithABadLineAndAPulledPlug)
{
    const QString link = "/dev/shm/tty9pin";
    for (int plugged = 0; plugged < 2; ++plugged) {
        QString path;
        NinepinController terminal(NinepinController::terminal(path));
        QFile::remove(link);
        ASSERT_TRUE(QFile::link(path, link));
        ASSERT_TRUE(await([&] {
            terminal.send(NinepinController::block(0x0011));
            return terminal.receive(300).command() == 0x1211;
        })) << "opened by itself";
        while (!terminal.receive(100).bytes.isEmpty()) {}
        EXPECT_EQ(terminal.askRaw(QByteArray::fromHex("2001")).nak(), 0x80) << "half a block";
        terminal.send(QByteArray(2000, '\xFF'));
        while (!terminal.receive(100).bytes.isEmpty()) {}
        EXPECT_TRUE(terminal.status().isValid()) << "behind garbage";
    }
    QFile::remove(link);
    EXPECT_TRUE(deck.status().isValid()) << "the other ports have noticed nothing";
}
} // namespace
