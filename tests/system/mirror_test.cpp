// SPDX-License-Identifier: GPL-3.0-or-later
// A take on two media, with real programs and file systems that break.
#include "tests/support/print.h"
#include "tests/system/mediarig.h"

#include <gtest/gtest.h>

namespace {
constexpr auto begin = R"sh(
    xpctl set mirror_media_path /media/B
    xpctl record >&2
    await '[ $(recorded) -ge 25 ]'
    await '[ -n "$(xpctl get mirror_pending)" ]' # the media daemon has noted it
)sh";
/// Two more seconds of the take, then its end.
constexpr auto goesOn = R"sh(
    await 'xpctl alarms | grep -q "warning  *mirror_lost"'
    before=$(recorded)
    await '[ $(recorded) -gt $((before + 50)) ]'
    xpctl stop >&2
    await 'is storage_state released'
    say status; xpctl --json status
    say alarms; xpctl alarms
)sh";
} // namespace

class MirrorHalf : public testing::TestWithParam<const char *>
{};
INSTANTIATE_TEST_SUITE_P(Mirror, MirrorHalf, testing::Values("A", "B"));

TEST_P(MirrorHalf, mayGoInATakeAndIsCompletedWhenItIsBack)
{
    const QString half = GetParam();
    const QString other = half == "A" ? "B" : "A";
    Sandbox sandbox;
    const ProgramResult result = sandbox.run(QString(begin) + "shut /media/" + half + goesOn +
                                             "half=" + half + "; other=" + other + R"sh(
        cp /media/$other/take_001.mov $OUT/whole.mov
        umount /media/$half
        await '[ "$(xpctl get active_media_path)" = /media/$other ]'
        mount -o loop,noatime "$XP_SANDBOX_DIR/medium-$half.img" /media/$half
        await '[ -z "$(xpctl get mirror_pending)" ]'
        await '! xpctl alarms | grep -q mirror_lost'
        say history; xpctl alarms --history
        say clips; xpctl set mirror_media_path /media/$half; xpctl clips
        cp /media/$half/take_001.mov $OUT/completed.mov
        say deleted; xpctl delete take_001.mov; ls /media/?/*.mov || true
    )sh");
    const auto whole = stripsOf(sandbox.out("whole.mov"));
    EXPECT_EQ(brokenAt(whole), QString());
    EXPECT_EQ(whole.size(), jsonField(said(result.out, "status"), "recorded_up_to").toInt());
    EXPECT_EQ(jsonField(said(result.out, "status"), "dropped_capture"), "0");
    EXPECT_FALSE(said(result.out, "alarms").contains("media_write_failed"));
    EXPECT_EQ(stripsOf(sandbox.out("completed.mov")), whole);
    const QByteArray history = said(result.out, "history");
    const qsizetype raised = history.indexOf("warning      mirror_lost");
    EXPECT_GE(raised, 0) << history.toStdString();
    EXPECT_GT(history.indexOf("clear        mirror_lost"), raised) << history.toStdString();
    EXPECT_TRUE(said(result.out, "clips").contains("also on /media/" + half.toLatin1()))
        << result.out.toStdString();
    EXPECT_TRUE(said(result.out, "deleted").contains("second copy")) << result.out.toStdString();
    EXPECT_FALSE(said(result.out, "deleted").contains("\n/media/"));
}
