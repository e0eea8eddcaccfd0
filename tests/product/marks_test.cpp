// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/product/clipmarks.h"
#include "platform/product/edl.h"
#include "tests/support/faultyfiles.h"
#include "tests/support/print.h"
#include "tests/support/testfiles.h"

#include <gtest/gtest.h>

#include <QFile>

#include <cerrno>

namespace {

ClipMarks someMarks()
{
    ClipMarks marks;
    marks.in = 100;
    marks.out = 250;
    EXPECT_TRUE(marks.setPoint("Goal, 2nd half", 130));
    EXPECT_TRUE(marks.setPoint("before", 7));
    return marks;
}

ClipMarks readMarks(const QString &clip, bool isGood = true)
{
    QString told;
    ClipMarks marks = ClipMarksFile::read(clip, told);
    EXPECT_EQ(told.isEmpty(), isGood) << told.toStdString();
    return marks;
}

QmxError setMarks(const QString &clip, const ClipMarks &wanted)
{
    QString told;
    return ClipMarksFile::change(
        clip,
        [&wanted](ClipMarks &marks) -> QmxError {
            marks = wanted;
            return {};
        },
        told);
}

} // namespace

TEST(ClipMarks, surviveWhateverHappensToTheirFile)
{
    const auto files = FaultyFiles::install();
    const TestDir dir;
    const QString clip = dir.file("take 1.mov");
    const QString file = dir.file(".take 1.mov.marks");
    EXPECT_TRUE(readMarks(clip).isEmpty());
    const ClipMarks marks = someMarks();
    EXPECT_EQ(marks.points.first().name, "before") << "by frame";
    ASSERT_FALSE(setMarks(clip, marks).isError());
    EXPECT_EQ(readMarks(clip), marks);

    // The medium refuses at each step of the change: what was there is there.
    const std::pair<FaultyFiles::Call, int> faults[] = {
        {FaultyFiles::Pwrite, ENOSPC}, {FaultyFiles::Fdatasync, EIO}, {FaultyFiles::Rename, EROFS}};
    for (const auto &[call, reason] : faults) {
        files->failNth(call, 1, reason);
        EXPECT_EQ(setMarks(clip, ClipMarks{1, 2, {}}).value(), reason);
        EXPECT_EQ(readMarks(clip), marks);
    }
    // Each byte damaged, or cut there.
    const QByteArray whole = readAll(file);
    for (qsizetype i = 0; i < whole.size(); ++i) {
        QByteArray bytes = whole;
        bytes[i] = char(bytes[i] ^ 1);
        EXPECT_FALSE(ClipMarks::fromText(bytes) && i + 2 < whole.size()) << i;
        EXPECT_FALSE(ClipMarks::fromText(whole.left(i)) && i + 1 < whole.size()) << i;
    }
    writeAll(file, "garbage\n");
    EXPECT_TRUE(readMarks(clip, false).isEmpty());
    EXPECT_EQ(readAll(file + ".damaged"), "garbage\n") << "put aside";
    EXPECT_TRUE(readMarks(clip).isEmpty());
    EXPECT_FALSE(ClipMarksFile::follow(clip, {}, false).isError());
    EXPECT_FALSE(QFile::exists(file + ".damaged")) << "it goes with the clip";
    EXPECT_FALSE(ClipMarks::nameFrom("two\nlines") || ClipMarks::nameFrom(" ") ||
                 ClipMarks::nameFrom(QString(81, 'x')));
}

TEST(ClipMarks, goWhereTheClipGoes)
{
    const TestDir dir;
    const QString clip = dir.file("a.mov"), copy = dir.file("b.mov"), renamed = dir.file("c.mov");
    EXPECT_FALSE(ClipMarksFile::follow(clip, copy, true).isError()) << "a clip without marks";
    ASSERT_FALSE(setMarks(clip, someMarks()).isError());
    EXPECT_FALSE(ClipMarksFile::follow(clip, copy, true).isError());
    EXPECT_FALSE(ClipMarksFile::follow(clip, renamed, false).isError());
    EXPECT_TRUE(readMarks(clip).isEmpty());
    EXPECT_EQ(readMarks(copy), someMarks());
    EXPECT_EQ(readMarks(renamed), someMarks());
    EXPECT_FALSE(ClipMarksFile::follow(copy, {}, false).isError());
    EXPECT_FALSE(QFile::exists(dir.file(".b.mov.marks")));
}

TEST(Edl, isReadAsOtherProgramsWriteIt)
{
    QString why;
    const auto edl =
        Edl::fromText("TITLE: MATCH\nFCM: NON-DROP FRAME\n\n"
                      "001  TAKE_001 V     C        10:00:04:00 10:00:10:00 01:00:00:00 01:00:06:00\r\n"
                      "* FROM CLIP NAME: take_001.mov\r\n* LOC: 10:00:05:00 RED     Goal\n"
                      "001  TAKE_001 A     C        10:00:04:00 10:00:10:00 01:00:00:00 01:00:06:00\n"
                      "* FROM CLIP NAME: sound.wav\n"
                      "002  AX       B     C        10:00:20:00 10:00:21:00 01:00:06:00 01:00:07:00\n"
                      "M2   AX       025.0                10:00:20:00\n",
                      why);
    ASSERT_TRUE(edl) << why.toStdString();
    ASSERT_EQ(edl->events.size(), 2);
    EXPECT_EQ(edl->title, "MATCH");
    EXPECT_EQ(edl->events[0].clip, "take_001.mov");
    EXPECT_EQ(edl->events[0].sourceOut.toString(), "10:00:10:00");
    ASSERT_EQ(edl->events[0].locators.size(), 1);
    EXPECT_EQ(edl->events[0].locators[0].name, "Goal");
    const auto again = Edl::fromText(edl->toText(), why);
    ASSERT_TRUE(again) << why.toStdString();
    EXPECT_EQ(again->toText(), edl->toText());
    EXPECT_EQ(Edl::reelOf("interview_001.mov"), "INTERVIE");

    const std::pair<const char *, const char *> bad[] = {
        {"", "no event"},
        {"001  AX V D 025 10:00:04:00 10:00:10:00 01:00:00:00 01:00:06:00", "line 1: only cuts"},
        {"\n001  AX V C 10:00:04:00 10:00:10:00 01:00:00:00", "line 2: '001"},
        {"001  AX V C 10:00:64:00 10:00:10:00 01:00:00:00 01:00:06:00", "no timecode"},
        {"001  AX V C 10:00:04:00 10:00:10:00 01:00:00:00 01:00:06:00\n* LOC: soon RED x", "no locator"}};
    for (const auto &[text, expected] : bad) {
        EXPECT_FALSE(Edl::fromText(text, why)) << text;
        EXPECT_TRUE(why.contains(expected)) << why.toStdString();
    }
}
