// SPDX-License-Identifier: GPL-3.0-or-later
// A take that goes on on the next medium when the first one is full.
#include "tests/support/print.h"
#include "tests/system/sandbox.h"

#include <gtest/gtest.h>

namespace {
constexpr auto generator576 = "[inputs]\n601=generator:?rate=25&size=720x576&scan=i&tc=10:00:00:00\n";

/// Timecode of the first frame as a frame count (25 a second, no drop frames).
qint64 startTimecode(const QString &clip)
{
    const ProgramResult probe =
        runProgram("ffprobe", {"-v", "error", "-select_streams", "v:0", "-show_entries",
                               "stream_tags=timecode", "-of", "csv=p=0", clip});
    const QList<QByteArray> digits = probe.out.trimmed().split(':');
    if (digits.size() != 4) {
        return -1;
    }
    return ((digits[0].toLongLong() * 60 + digits[1].toLongLong()) * 60 + digits[2].toLongLong()) * 25 +
           digits[3].toLongLong();
}

/// Leaves `percent` of /media/A free.
QString fillTo(int percent)
{
    return QStringLiteral(R"sh(
        read -r total free < <(stat -f -c '%b %f' /media/A)
        size=$(stat -f -c %S /media/A)
        fallocate -l $(((free - total * %1 / 100) * size)) /media/A/filler
    )sh")
        .arg(percent);
}

/// await CONDITION: until it holds, at most 30 s.
constexpr auto await = R"sh(
    await() {
        local tries=0
        until eval "$1"; do
            tries=$((tries + 1)); [ $tries -lt 600 ] || { echo "never: $1" >&2; cat /run/xp/*.out >&2; exit 9; }
            read -rt 0.05 <> <(:) || true
        done
    }
)sh";
} // namespace

TEST(Rollover, aTakeGoesOnOnTheNextMediumWithoutLosingAFrame)
{
    Sandbox sandbox({"--media-size", "400M"});
    sandbox.setProfile(generator576);
    const ProgramResult result = sandbox.run(await + fillTo(14) + R"sh(
        xpctl set rollover_enabled on
        xpctl record >&2
        await '[ "$(xpctl get active_media_path)" = /media/B ]'
        # The transport has taken note when the name of the second clip is the current one.
        await '[ "$(xpctl get current_clip)" = take_001_R2.mov ]'
        xpctl status
        echo "rollover '$(xpctl get rollover_media_path)'"
        sleepless=$(xpctl --json status | sed -E 's/.*"recorded_up_to":([0-9]+).*/\1/')
        await "[ \$(xpctl --json status | sed -E 's/.*\"recorded_up_to\":([0-9]+).*/\1/') -gt $((sleepless + 50)) ]"
        xpctl stop >&2
        await '[ "$(xpctl get storage_state)" = released ]'
        xpctl alarms
        xpctl clips
        cat /run/xp/xpmediad.out >&2
        cp /media/A/*.mov /media/B/*.mov $OUT/
    )sh");
    ASSERT_EQ(result.status, 0) << result.err.toStdString() << result.out.toStdString();
    EXPECT_TRUE(result.out.contains("recording")) << result.out.toStdString();
    EXPECT_TRUE(result.out.contains("rollover ''")) << result.out.toStdString();
    EXPECT_TRUE(result.out.contains("take_001_R2.mov")) << "not listed: " << result.out.toStdString();
    EXPECT_FALSE(result.out.contains("media_full")) << result.out.toStdString();

    const auto first = stripsOf(sandbox.out("take_001.mov"));
    const auto second = stripsOf(sandbox.out("take_001_R2.mov"));
    ASSERT_GT(first.size(), 25);
    ASSERT_GT(second.size(), 50);
    EXPECT_EQ(brokenAt(first + second), QString()) << first.size() << " frames before the rollover";
    const qint64 start = startTimecode(sandbox.out("take_001.mov"));
    ASSERT_GE(start, 0);
    EXPECT_EQ(startTimecode(sandbox.out("take_001_R2.mov")), start + first.size());
    // The order in which the transport has to hear it.
    const QByteArray order = "active_media_path = '/media/B'";
    const qsizetype active = result.err.indexOf(order);
    const qsizetype cleared = result.err.indexOf("rollover_media_path = ''", active);
    const qsizetype updated = result.err.indexOf("media_updated = 1", cleared);
    EXPECT_TRUE(active > 0 && cleared > active && updated > cleared) << result.err.toStdString();
}

TEST(Rollover, withoutAnotherMediumTheTakeEndsAndSaysSo)
{
    Sandbox sandbox({"--media-size", "400M"});
    sandbox.setProfile(generator576);
    const ProgramResult result = sandbox.run(await + fillTo(12) + R"sh(
        xpctl record >&2
        await '[ "$(xpctl get transport_status)" = stopped ]'
        await 'xpctl alarms | grep -q media_full'
        xpctl alarms
        # The full medium makes room for the other one, and the next take clears the alarm.
        await '[ "$(xpctl get active_media_path)" = /media/B ]'
        xpctl get current_clip
        xpctl record >&2
        await '! xpctl alarms | grep -q media_full'
        xpctl stop >&2
        cp /media/A/*.mov $OUT/first.mov
        ls /media/B
    )sh");
    ASSERT_EQ(result.status, 0) << result.err.toStdString() << result.out.toStdString();
    EXPECT_TRUE(result.out.contains("/media/A is full")) << result.out.toStdString();
    EXPECT_TRUE(result.out.contains("\nN/A\n")) << result.out.toStdString();
    EXPECT_TRUE(result.out.contains(".mov")) << result.out.toStdString();
    EXPECT_EQ(brokenAt(stripsOf(sandbox.out("first.mov"))), QString());
}
