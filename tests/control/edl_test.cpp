// SPDX-License-Identifier: GPL-3.0-or-later
// What an edit decision list of CMX 3600 means for a clip, rate by rate, and what is told of one that fits
// none.
#include "platform/control/edlof.h"

#include "tests/support/print.h"

#include <gtest/gtest.h>

namespace {
/// 100,000 frames from 10:00:00:00 on.
Material clipAt(int rate, bool drop)
{
    Material material;
    material.clip = "take_001.mov";
    material.info.frames = 100'000;
    material.info.startTimecode = QmxTimecode(10, 0, 0, 0, rate, drop);
    material.info.timecodeRuns = {{0, material.info.startTimecode}};
    return material;
}

QString event(const QString &reel, const QString &in, const QString &out)
{
    return QStringLiteral("001  %1 V     C        %2 %3 01:00:00:00 01:00:06:00\r\n").arg(reel, in, out);
}
} // namespace

TEST(EditDecisionLists, giveAClipExactlyTheFramesTheyName)
{
    const QString named = "* FROM CLIP NAME: take_001.mov\r\n", bare = "* FROM CLIP NAME: TAKE_001\r\n";
    const QString drop = "FCM: DROP FRAME\r\n", nonDrop = "FCM: NON-DROP FRAME\r\n";
    const struct
    {
        int rate;
        bool drop;
        QString text;
        const char *expected; ///< in and out, or what is told
    } cases[] = {
        {25, false, event("A001", "10:00:04:00", "10:00:10:00") + named, "100-250"},
        {25, false, event("TAKE_001", "10:00:04:00", "10:00:10:00"), "100-250"},
        {25, false, event("take_001", "10:00:04:24", "10:00:05:00"), "124-125"},
        {25, false, event("OTHER", "10:00:04:00", "10:00:10:00"), "no event of the list is from"},
        {25, false, event("AX", "10:00:04:00", "10:00:10:00") + "* FROM CLIP NAME: take_001\r\n", "100-250"},
        {25, false, event("AX", "10:00:04:00", "10:00:10:00") + bare, "no event of the list is from"},
        {25, false, event("AX", "10:00:04:00", "10:00:04:00") + named, "no frames from"},
        {25, false, event("AX", "09:59:59:00", "10:00:10:00") + named, "no frames from"},
        {25, false, event("AX", "10:00:00:00", "11:06:40:00") + named, "0-100000"},
        {25, false, event("AX", "10:00:00:00", "11:06:40:01") + named, "no frames from"},
        {25, false, event("AX", "10:00:04:00", "10:00:10:29") + named, "made for another rate"},
        {25, false, drop + event("AX", "10:00:04:00", "10:00:10:00") + named, "in drop frame, the clip does"},
        {50, false, nonDrop + event("AX", "10:00:04:49", "10:00:05:00") + named, "249-250"},
        {24, false, event("AX", "10:00:04:00", "10:00:10:24") + named, "made for another rate"},
        {30, false, nonDrop + event("AX", "10:01:00:00", "10:01:00:02") + named, "1800-1802"},
        {30, true, drop + event("AX", "10:00:59:29", "10:01:00:02") + named, "1799-1800"},
        {30, true, drop + event("AX", "10:00:59;29", "10:10:00;00") + named, "1799-17982"},
        {30, true, drop + event("AX", "10:01:00:00", "10:01:10:00") + named, "no frames from"},
        {30, true, nonDrop + event("AX", "10:00:59:29", "10:01:00:02") + named, "the list does not"},
        {60, true, drop + event("AX", "10:00:59:59", "10:01:00:04") + named, "3599-3600"},
    };
    for (const auto &one : cases) {
        const Material material = clipAt(one.rate, one.drop);
        QString why;
        const auto marks = EdlOf::marksFrom(one.text, material, why);
        const QString is = marks ? QStringLiteral("%1-%2").arg(*marks->in).arg(*marks->out) : why;
        EXPECT_TRUE(is.contains(one.expected)) << one.text.toStdString() << is.toStdString();
        if (!marks) continue;
        // Written again it is the same part; what counts drop frames is told in the line for that.
        const auto text = EdlOf::marks(material, *marks, why);
        ASSERT_TRUE(text) << why.toStdString();
        EXPECT_EQ(text->contains("FCM: DROP"), one.drop);
        EXPECT_EQ(EdlOf::marksFrom(*text, material, why), marks) << text->toStdString();
    }
}
