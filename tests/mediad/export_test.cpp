// SPDX-License-Identifier: GPL-3.0-or-later
// What comes out of an export: the same pictures, sound, timecodes and marks; or a proxy that others play.
#include "companions/mediad/clipexport.h"
#include "platform/product/clipmarks.h"
#include "platform/qmx/clip/qmxclipcheck.h"
#include "tests/clip/cliptake.h"
#include "tests/support/faultyfiles.h"
#include "tests/support/print.h"
#include "tests/support/testfiles.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>

#include <cerrno>

namespace {

class Exports : public testing::Test
{
protected:
    Exports()
    {
        environment.files = files;
        QDir().mkpath(dir.file("to"));
        take.jump(17, 500);
        take.make(dir.file("a.mov"), 60, true);
    }

    QmxError made(
        const QStringList &entries, const char *name, bool isProxy = false, bool burn = false,
        const std::function<bool(qint64, qint64)> &pace = [](qint64, qint64) { return true; })
    {
        to = dir.file("to/" + QString::fromLatin1(name));
        return exportClips({dir.path(), entries, to, isProxy, burn}, environment, pace, finding);
    }
    QStringList left() const { return QDir(dir.file("to")).entryList(QDir::Files | QDir::Hidden); }

    TestDir dir;
    ClipTake take{{192, 128, 25, 1, 203, 0, 2, false, 90000}, true};
    std::shared_ptr<FaultyFiles> files = std::make_shared<FaultyFiles>();
    QmxEnvironment environment = QmxEnvironment::current();
    QString to;
    std::string finding;
};

/// How many frames of a clip are those of another from a place on: picture and sound to the bit, and
/// timecode.
qint64 equalFrames(const QString &path, const QString &of, qint64 from, qint64 at = 0)
{
    QmxClipReader clip, source;
    if (clip.open(path).isError() || source.open(of).isError()) return -1;
    for (qint64 i = 0;; ++i) {
        QmxFrame is, was;
        if (clip.readFrame(at + i, is).isError() || source.readFrame(from + i, was).isError()) return i;
        const auto bytes = [](const QmxFrame &frame) {
            const QmxBuffer picture = frame.vids().first().buffers().first();
            const QmxAudio sound = frame.auds().first();
            return QByteArray(reinterpret_cast<const char *>(picture.constData()), picture.size()) +
                   QByteArray(reinterpret_cast<const char *>(sound.data()), sound.samples() * 2 * 4);
        };
        if (bytes(is) != bytes(was) || is.meta() != was.meta()) return i;
    }
}

/// Begin, end and name of each, as ffprobe shows them.
QByteArray chaptersOf(const QString &path)
{
    return runProgram("ffprobe", {"-v", "error", "-show_entries",
                                  "chapter=start_time,end_time:chapter_tags=title", "-of", "csv=p=0", path})
        .out;
}

QByteArray firstPicture(const QString &path)
{
    return runProgram("ffmpeg", {"-v", "error", "-i", path, "-frames:v", "1", "-f", "rawvideo", "-pix_fmt",
                                 "gray", "-"})
        .out;
}

} // namespace

TEST_F(Exports, aPartIsTheSameToTheBitWithItsTimecodesMarksAndProof)
{
    QString told;
    const auto mark = [](ClipMarks &marks) {
        marks.setPoint("before", 3);
        marks.setPoint("goal", 20);
        marks.out = 45;
        return QmxError();
    };
    ASSERT_EQ(ClipMarksFile::change(dir.file("a.mov"), mark, told, environment), QmxError());
    qint64 last = 0;
    ASSERT_EQ(made({"a.mov[10-50)"}, "part.mov", false, false,
                   [&](qint64 done, qint64 total) {
                       EXPECT_LE(last, done);
                       EXPECT_LE(done, total);
                       last = done;
                       return true;
                   }),
              QmxError());
    EXPECT_EQ(equalFrames(to, dir.file("a.mov"), 10), 40);
    QmxClipCheck check;
    ASSERT_EQ(QmxClipCheck::run(to, check, environment), QmxError());
    EXPECT_TRUE(check.isWhole() && check.hasProof) << check.sentence().toStdString();
    EXPECT_EQ(check.frames, 40);
    EXPECT_EQ(check.take["clip"].toString(), "part.mov");
    const QJsonObject from = check.take["exported_from"].toArray().first().toObject();
    EXPECT_EQ(from["clip"].toString() + '[' + QString::number(from["first"].toInt()), "a.mov[10");
    EXPECT_EQ(from["chain"].toString().size(), 64);
    const ClipMarks marks = ClipMarksFile::read(to, told, environment);
    ASSERT_EQ(marks.points.size(), 1);
    EXPECT_EQ(marks.points.first(), (ClipMarks::Point{10, "goal"}));
    EXPECT_EQ(marks.out, 35);
    // Chapters of other programs, of the file itself, and of one that other programs have made of it.
    EXPECT_EQ(chaptersOf(to), "0.000000,0.400000\n0.400000,1.400000,goal\n1.400000,1.600000,out\n");
    const QString remuxed = dir.file("remuxed.mov");
    EXPECT_EQ(runProgram("ffmpeg", {"-v", "error", "-i", to, "-map", "0:v", "-c", "copy", remuxed}).err, "");
    QFile::remove(ClipMarks::fileOf(to));
    for (const QString &clip : {to, remuxed})
        EXPECT_EQ(ClipMarksFile::read(clip, told, environment), marks) << clip.toStdString();
    ASSERT_EQ(ClipMarksFile::change(
                  to, [](ClipMarks &all) { return all = ClipMarks(), QmxError(); }, told, environment),
              QmxError());
    EXPECT_TRUE(ClipMarksFile::read(to, told, environment).isEmpty()) << "taken away they stay away";

    const QStringList streams{"-v", "error", "-map", "0:v", "-c", "copy", "-f", "md5", "-"};
    const auto sum = [&](const QStringList &input) { return runProgram("ffmpeg", input + streams).out; };
    EXPECT_EQ(sum({"-i", to}), sum({"-ss", "0.4", "-t", "1.6", "-i", dir.file("a.mov")}))
        << "as ffmpeg sees them";

    // By timecode, and several behind one another.
    const QString timecode =
        QStringLiteral("%1-%2").arg(take.timecode(20).toString(), take.timecode(25).toString());
    ASSERT_EQ(made({"a.mov", dir.file("a.mov") + "[" + timecode + ")"}, "list.mov"), QmxError());
    EXPECT_EQ(equalFrames(to, dir.file("a.mov"), 0), 60);
    EXPECT_EQ(equalFrames(to, dir.file("a.mov"), 20, 60), 5);
}

TEST_F(Exports, whatFailsLeavesNothingBehindAndReplacesNothing)
{
    ClipTake{{96, 64, 25, 1, 203, 0, 2, false, 0}}.make(dir.file("small.mov"), 5, true);
    const auto damage = [this](const QString &name, const QByteArray &around) {
        QByteArray bytes = readAll(dir.file("a.mov"));
        const qsizetype at = bytes.indexOf(around);
        ASSERT_GT(at, 0);
        bytes[at + 9] = char(bytes[at + 9] ^ 1);
        writeAll(dir.file(name), bytes);
    };
    const QmxFrame frame = take.frame(30);
    const QmxBuffer picture = frame.vids().first().buffers().first();
    damage("picture.mov", {reinterpret_cast<const char *>(picture.constData()), picture.size()});
    damage("sound.mov", take.soundBytes(40).last(64));
    writeAll(dir.file("garbage.mov"), "nothing");
    const struct
    {
        const char *entry;
        int error;
    } rows[] = {{"a.mov[50-40)", EINVAL}, {"a.mov[10-99)", EINVAL}, {"a.mov[x-y)", EINVAL},
                {"none.mov", ENOENT},     {"picture.mov", EILSEQ},  {"sound.mov[10-50)", EILSEQ},
                {"garbage.mov", EILSEQ}};
    for (const auto &row : rows) {
        const QmxError error = made({row.entry}, "out.mov");
        EXPECT_EQ(error.value() == row.error || (row.error == EILSEQ && error.isError()), true)
            << row.entry << ": " << error.toString().toStdString();
        EXPECT_EQ(left(), QStringList()) << row.entry;
    }
    EXPECT_EQ(made({"a.mov", "small.mov"}, "out.mov").value(), EINVAL);
    EXPECT_EQ(
        made({"a.mov"}, "out.mov", false, false, [](qint64 done, qint64 total) { return done < total / 3; })
            .value(),
        ECANCELED);
    files->failNth(FaultyFiles::Pwrite, 30, ENOSPC);
    EXPECT_EQ(made({"a.mov"}, "out.mov").value(), ENOSPC);
    files->clear();
    EXPECT_EQ(left(), QStringList());
    EXPECT_EQ(made({"a.mov"}, "../a.mov").value(), EEXIST);
    EXPECT_EQ(take.wholeFrames(dir.file("a.mov")), 60);
}

TEST_F(Exports, aProxyIsWhatEverybodysPlayerPlays)
{
    ClipTake interlaced({1920, 1080, 30000, 1001, 203, 1, 4, true, 107892}, true);
    interlaced.make(dir.file("i.mov"), 20, true);
    QString told;
    const auto mark = [](ClipMarks &marks) { return marks.setPoint("goal", 12), QmxError(); };
    ASSERT_EQ(ClipMarksFile::change(dir.file("a.mov"), mark, told, environment), QmxError());
    for (const bool isLarge : {false, true}) {
        ASSERT_EQ(made({isLarge ? "i.mov" : "a.mov[10-50)"}, isLarge ? "i.mp4" : "a.mp4", true), QmxError());
        const ProgramResult probe =
            runProgram("ffprobe", {"-v", "error", "-count_packets", "-show_entries",
                                   "stream=codec_name,width,height,nb_read_packets:stream_tags=timecode",
                                   "-of", "csv=p=0", to});
        const QByteArrayList lines = probe.out.trimmed().split('\n');
        EXPECT_EQ(lines.value(0), isLarge ? QByteArray("h264,1280,720,20,01:00:00;00")
                                          : "h264,192,128,40," + take.timecode(10).toString().toLatin1())
            << probe.err.toStdString();
        EXPECT_TRUE(lines.value(1).startsWith("aac,")) << probe.out.toStdString();
        EXPECT_EQ(runProgram("ffmpeg", {"-v", "error", "-i", to, "-f", "null", "-"}).err, "");
        EXPECT_EQ(chaptersOf(to), QByteArray(isLarge ? "" : "0.000000,0.080000\n0.080000,1.600000,goal\n"));
    }
    const QByteArray head = readAll(to).first(4096);
    EXPECT_GT(head.indexOf("moov"), 0) << "a browser finds the tables in front";
    ASSERT_EQ(made({"i.mov"}, "burnt.mp4", true, true), QmxError());
    const QByteArray plain = firstPicture(dir.file("to/i.mp4"));
    const QByteArray burnt = firstPicture(to);
    ASSERT_EQ(plain.size(), 1280 * 720);
    ASSERT_EQ(burnt.size(), plain.size());
    const auto difference = [&](int from, int end) {
        double sum = 0;
        for (int i = from * 1280; i < end * 1280; ++i)
            sum += std::abs(uchar(plain[i]) - uchar(burnt[i]));
        return sum / (1280.0 * (end - from));
    };
    EXPECT_LT(difference(0, 500), 3);
    EXPECT_GT(difference(590, 650), 10);
    EXPECT_EQ(left().filter(".part"), QStringList());
}
