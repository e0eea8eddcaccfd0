// SPDX-License-Identifier: GPL-3.0-or-later
// A take that goes on on the next medium when the first one is full, and what can go wrong between the two.
#include "tests/support/print.h"
#include "tests/system/mediarig.h"

#include <gtest/gtest.h>

#include <numeric>

namespace {

/// A take on A that will roll over to B; from here on the media daemon leaves the paths alone.
constexpr auto begin = R"sh(
    xpctl set record_codec 3
    xpctl set rollover_enabled on
    await 'is rollover_media_path /media/B'
    fill 12 /media/A
    xpctl record >&2
)sh";
/// Until the second clip runs and everybody knows its name.
constexpr auto goesOn = R"sh(
    await 'is active_media_path /media/B && is current_clip take_001_R2.mov'
    await '[ $(recorded) -gt 50 ]'
)sh";
constexpr auto end = R"sh(
    xpctl stop >&2
    await 'is storage_state released'
    say alarms; xpctl alarms; say clips; xpctl clips
    cp /media/?/*.mov $OUT/
)sh";

const QStringList names{"take_001.mov", "take_001_R2.mov", "take_001_R3.mov"};

/// A busy machine may be late; but nothing of the take, nor of its media.
testing::AssertionResult nothingLost(const QByteArray &alarms)
{
    const bool lost = alarms.isEmpty() || alarms.contains("frame_dropped") || alarms.contains("  media_");
    return lost ? testing::AssertionFailure() << alarms.toStdString() : testing::AssertionSuccess();
}

QStringList clipsIn(const Sandbox &sandbox, int count)
{
    QStringList clips;
    for (const QString &name : names.mid(0, count))
        clips << sandbox.out(name);
    return clips;
}

/// What a stop says of a take in clips of so many frames.
QByteArray wholeTake(const QList<int> &frames)
{
    return "recorded " + QByteArray::number(std::accumulate(frames.begin(), frames.end(), 0)) + " frames";
}
} // namespace

TEST(Rollover, aStopWhereTheTakeWouldSoonHaveGoneOnTellsEveryFrame)
{
    Sandbox sandbox;
    const ProgramResult result = sandbox.run(QString(begin) + R"sh(
        nearly_full() { set -- $(stat -f -c '%f %b' /media/A); [ $(($1 * 1000 / $2)) -lt 110 ]; }
        await nearly_full
        say told; xpctl --json stop
        await 'is storage_state released'
        cp /media/A/*.mov $OUT/
    )sh");
    const auto frames = stripsOf(sandbox.out("take_001.mov"));
    EXPECT_EQ(brokenAt(frames), QString());
    EXPECT_EQ(jsonField(said(result.out, "told"), "frames"), QString::number(frames.size()));
}

class RolloverRates : public testing::TestWithParam<std::tuple<const char *, const char *, int, int>>
{};
INSTANTIATE_TEST_SUITE_P(Rollover, RolloverRates,
                         testing::Values(std::tuple{"fps24", "rate=24&size=1920x1080", 24, 1},
                                         std::tuple{"fps2997drop", "rate=29.97&size=720x486&scan=i", 30000,
                                                    1001},
                                         std::tuple{"fps5994", "rate=59.94&size=1280x720", 60000, 1001}),
                         [](const auto &row) { return std::get<0>(row.param); });

TEST_P(RolloverRates, threeMediaHoldOneTakeWithoutAHole)
{
    const auto &[name, format, num, den] = GetParam();
    Sandbox sandbox({"--media-size", "400M"});
    sandbox.setProfile(QByteArray("[inputs]\n601=generator:?") + format + "\n");
    const ProgramResult result =
        sandbox.run(QString(den == 1001 ? "xpctl set timecode_drop_frame drop\n" : "") +
                    "xpctl set timecode_preset_hour 10; plug C" + begin + goesOn + R"sh(
        await 'is rollover_media_path /media/C'
        fill 11 /media/B
        await 'is active_media_path /media/C && is current_clip take_001_R3.mov'
        say third; echo "[$(xpctl get rollover_media_path)]"
        await '[ $(recorded) -gt 50 ]'
    )sh" + end);
    EXPECT_EQ(said(result.out, "third"), "[]\n") << "A and B are full: nothing comes next";
    EXPECT_TRUE(nothingLost(said(result.out, "alarms")));
    EXPECT_TRUE(result.out.contains("take_001_R3.mov")) << "not listed";
    QList<int> frames;
    EXPECT_EQ(brokenTake(clipsIn(sandbox, 3), num, den, &frames), QString());
    for (const int count : frames)
        EXPECT_GT(count, 25);
    ASSERT_FALSE(frames.isEmpty());
    EXPECT_TRUE(result.err.contains(wholeTake(frames))) << result.err.toStdString();
}

namespace {

/// What happens to a take on A while it is about to go on on B, and what must come of it.
struct Fault
{
    const char *name;
    const char *prepare; ///< before the take
    const char *strike;  ///< in the take; A has 12 % free
    int clips;           ///< 2: it goes on on B; 1: it ends with its first clip whole
    const char *alarm;   ///< that says why
    const char *next;    ///< medium on which the next take begins
};

const Fault faults[] = {
    {"takesFourSecondsToOpenTheSecondClip", "slow B", "hold B 'create 4000'", 2, "", ""},
    {"doesNotLetTheSecondClipBeOpened", "", "mount -o remount,ro /media/B", 1, "read-only", "A"},
    {"hasNoRoomForAnotherFile",
     "umount /media/B; mkfs.ext4 -q -F -m 0 -N 16 $XP_SANDBOX_DIR/medium-B.img; mount -o loop "
     // (Before the take: a clip that is opened ahead would have its place already.)
     "$XP_SANDBOX_DIR/medium-B.img /media/B; i=0; while touch /media/B/$i 2>/dev/null; do i=$((i + 1)); "
     "done; ",
     "", 1, "the medium is full", ""},
    {"vanishesDuringTheSwitch", "slow B",
     "hold B 'create -1'; await 'grep -qs create /run/xp/slow-B.held'; kill -KILL $(pidof xp-slowfs)", 1,
     "the medium is gone", ""},
    {"isFullItself", "", "fill 14 /media/B; fill 9 /media/A", 1, "/media/A is full", "B"},
    {"isTakenOutBeforeTheSwitch", "", "umount /media/B; rmdir /media/B; fill 9 /media/A", 1,
     "/media/A is full", ""},
    {"breaksDownWithTheSecondClip", "", "await 'is current_clip take_001_R2.mov'; shut /media/B", 1,
     "input/output error", ""},
};

class RolloverFaults : public testing::TestWithParam<Fault>
{};
INSTANTIATE_TEST_SUITE_P(Rollover, RolloverFaults, testing::ValuesIn(faults),
                         [](const auto &row) { return row.param.name; });

} // namespace

TEST_P(RolloverFaults, theNextMedium)
{
    const Fault &fault = GetParam();
    Sandbox sandbox({"--media-size", "400M"});
    const ProgramResult result = sandbox.run(QString(fault.prepare) + begin + fault.strike +
                                             (fault.clips == 2 ? QString(goesOn) + end
                                                               : QString(R"sh(
        await 'is transport_status stopped && ! is storage_state in_use'
        await 'xpctl alarms | grep -q "%1"'
        say alarms; xpctl alarms
        say clip; ls /media/A
        cp /media/A/*.mov $OUT
        [ -z "%2" ] || { await 'is active_media_path /media/%2'; rm -f /media/%2/filler-*; xpctl record; await '! xpctl alarms | grep -q media_full'; xpctl stop; }
    )sh")
                                                                     .arg(fault.alarm, fault.next)));
    EXPECT_TRUE(fault.clips == 2 ? nothingLost(said(result.out, "alarms"))
                                 : said(result.out, "alarms").contains(fault.alarm))
        << result.out.toStdString();
    EXPECT_EQ(brokenTake(clipsIn(sandbox, fault.clips), 25, 1), QString());
    const ProgramResult atoms = runProgram("ffprobe", {"-v", "trace", sandbox.out("take_001.mov")});
    EXPECT_FALSE(atoms.err.contains("type:'mvex'")) << "not closed";
}
