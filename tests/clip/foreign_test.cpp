// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/clip/decodingmark.h"
#include "platform/qmx/clip/qmxclipreader.h"
#include "platform/qmx/codec/qmxvideocodec.h"
#include "tests/support/faultyfiles.h"
#include "tests/support/testfiles.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QtEndian>

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <random>

namespace {

constexpr int frames = 75;

/// Frame n has the luma 40 + 2n everywhere; from one second on there is a tone.
bool make(const QString &path, const QStringList &coding)
{
    const QStringList input{"-v",
                            "error",
                            "-y",
                            "-f",
                            "lavfi",
                            "-i",
                            "color=black:s=96x64:r=25:d=3,format=yuv422p,geq=lum='40+2*N':cb=128:cr=128",
                            "-f",
                            "lavfi",
                            "-i",
                            "aevalsrc='if(gte(t,1),0.5*sin(2500*t),0)|0':s=48000:d=3"};
    const auto result = runProgram("ffmpeg", input + coding + QStringList{path});
    EXPECT_EQ(result.err, "");
    return result.status == 0;
}

int shownNumber(const QmxFrame &frame)
{
    const QmxImage image = frame.vids().first();
    QmxPicture picture;
    const auto decoder = qmxCodec(image.desc().dataType())->createDecoder(image.desc());
    if (decoder->decode(image.buffers().first(), picture).isError()) return -1;
    return int(std::lround((picture.row(0, 32)[48] / 4.0 - 40) / 2));
}

double loudness(const QmxFrame &frame)
{
    const QmxAudio audio = frame.auds().first();
    double peak = 0;
    for (int i = 0; i < audio.samples() * audio.desc().channels(); ++i)
        peak = std::max(peak, std::abs(audio.data()[i] / 2147483648.0));
    return peak;
}

} // namespace

TEST(ForeignClip, PlaysDependentFramesInAnyOrder)
{
    TestDir dir;
    const QStringList h264{"-c:v", "libx264", "-pix_fmt", "yuv420p", "-g",  "30",
                           "-bf",  "3",       "-crf",     "4",       "-c:a"};
    const struct
    {
        const char *name;
        QStringList coding;
        const char *codec = "h264";
    } cases[] = {
        {"a.mp4", h264 + QStringList{"aac", "-timecode", "01:00:00:00"}},
        {"a.mkv", h264 + QStringList{"pcm_s16le"}},
        {"a.ts", h264 + QStringList{"mp2"}},
        {"a.mov", h264 + QStringList{"pcm_s24le"}},
        {"a.webm",
         QString("-c:v libvpx-vp9 -pix_fmt yuv420p -g 30 -crf 4 -b:v 0 -cpu-used 8 -c:a libopus").split(' '),
         "vp9"},
        {"b.mkv",
         QString("-c:v libaom-av1 -pix_fmt yuv420p -g 30 -crf 8 -cpu-used 8 -c:a pcm_s16le").split(' '),
         "av1"},
    };
    for (const auto &now : cases) {
        SCOPED_TRACE(now.name);
        const QString path = dir.file(now.name);
        ASSERT_TRUE(make(path, now.coding));
        QmxClipReader reader;
        const QmxError error = reader.open(path);
        ASSERT_FALSE(error.isError()) << qPrintable(error.toString());
        const QmxClipInfo info = reader.info();
        EXPECT_NEAR(double(info.frames), frames, 1);
        EXPECT_EQ(info.codecName(), now.codec);
        EXPECT_TRUE(info.foreign && info.image.dataType() == QmxId(231) &&
                    info.image.frameRate() == QmxVideoRate(25));
        QList<int> order;
        for (int i = 0; i < frames; ++i)
            order << i;
        for (int i = frames - 1; i >= 0; --i)
            order << i;
        std::mt19937 chance(1);
        for (int i = 0; i < 30; ++i)
            order << int(chance() % frames);
        for (int number : order) {
            QmxFrame got;
            ASSERT_FALSE(reader.readFrame(number, got).isError()) << number;
            const QmxFrame &frame = got;
            EXPECT_EQ(shownNumber(frame), number);
            ASSERT_EQ(frame.auds().first().samples(), 1920);
            if (number < 23) {
                EXPECT_LT(loudness(frame), 0.05) << number;
            }
            if (number > 26 && number < frames - 2) {
                EXPECT_GT(loudness(frame), 0.3) << number;
            }
        }
        if (info.startTimecode.isValid()) {
            EXPECT_EQ(info.timecodeAt(30).toString(), "01:00:01:05");
        }
        QmxClipInfo probed;
        ASSERT_FALSE(QmxClipReader::probe(path, probed).isError());
        EXPECT_EQ(probed.frames, info.frames);
    }
}

TEST(ForeignClip, aFolderOfNumberedPicturesIsAClip)
{
    const TestDir dir;
    QmxClipReader reader;
    for (const char *form : {"png rgb48be", "dpx gbrp10be", "jpg yuvj422p", "tif rgb24"}) {
        SCOPED_TRACE(form);
        const QString ending = QString(form).section(' ', 0, 0);
        const QString folder = dir.file(ending + "@23.98.images");
        ASSERT_TRUE(QDir().mkpath(folder));
        ASSERT_TRUE(make(folder + "/shot_%06d." + ending,
                         {"-map", "0:v", "-sws_flags", "accurate_rnd+full_chroma_int", "-pix_fmt",
                          QString(form).section(' ', 1), "-q:v", "1", "-start_number", "86400"}));
        writeAll(folder + "/notes.txt", "none of them");
        ASSERT_TRUE(QFile::remove(folder + "/shot_086410." + ending));
        const QmxError error = reader.open(folder);
        ASSERT_FALSE(error.isError()) << qPrintable(error.toString());
        EXPECT_EQ(reader.info().frames, frames);
        EXPECT_EQ(reader.info().image.frameRate(), QmxVideoRate(24000, 1001));
        for (const int number : {0, 9, 10, 11, 74, 73, 3}) {
            QmxFrame frame;
            ASSERT_FALSE(reader.readFrame(number, frame).isError()) << number;
            EXPECT_EQ(shownNumber(frame), number == 10 ? 9 : number);
        }
        QmxClipInfo probed;
        EXPECT_FALSE(QmxClipReader::probe(folder, probed).isError());
        EXPECT_EQ(probed.frames, frames);
        // Neither a folder nor a picture is reached by a link: it may lead anywhere.
        const QString linked = dir.file("linked.images"), within = dir.file("within.images");
        ASSERT_TRUE(QFile::link(folder, linked));
        EXPECT_TRUE(reader.open(linked).isError());
        EXPECT_TRUE(QmxClipReader::probe(linked, probed).isError());
        ASSERT_TRUE(QDir().mkpath(within) &&
                    QFile::link(folder + "/shot_086400." + ending, within + "/shot_1." + ending));
        EXPECT_TRUE(reader.open(within).isError());
        ASSERT_TRUE(QFile::remove(linked) && QDir(within).removeRecursively());
    }
    const QString empty = dir.file("empty.images");
    ASSERT_TRUE(QDir().mkpath(empty));
    EXPECT_TRUE(reader.open(empty).toString().contains("no numbered pictures"));
}

TEST(ForeignClip, HandsOverIntraFramesAsTheyAre)
{
    TestDir dir;
    for (const char *sound : {"pcm_s16le", "pcm_s24be", "pcm_s32le"}) {
        SCOPED_TRACE(sound);
        const QString path = dir.file("a.mov");
        ASSERT_TRUE(
            make(path, {"-c:v", "prores_ks", "-profile:v", "2", "-timecode", "10:00:00:00", "-c:a", sound}));
        QmxClipReader reader;
        ASSERT_FALSE(reader.open(path).isError());
        EXPECT_EQ(reader.info().frames, frames);
        EXPECT_TRUE(reader.info().image.dataType() == QmxId(202));
        EXPECT_EQ(reader.info().timecodeAt(26).toString(), "10:00:01:01");
        QByteArray pictures;
        QByteArray samples;
        for (int i = 0; i < frames; ++i) {
            QmxFrame got;
            ASSERT_FALSE(reader.readFrame(i, got).isError());
            const QmxFrame &frame = got;
            const QmxBuffer picture = frame.vids().first().buffers().first();
            pictures.append(reinterpret_cast<const char *>(picture.constData()), picture.size());
            samples.append(reinterpret_cast<const char *>(frame.auds().first().data()), 1920 * 2 * 4);
        }
        const auto copied = runProgram(
            "ffmpeg", {"-v", "error", "-i", path, "-map", "0:v", "-c", "copy", "-f", "rawvideo", "-"});
        EXPECT_TRUE(pictures == copied.out);
        auto decoded = runProgram("ffmpeg", {"-v", "error", "-i", path, "-map", "0:a", "-f", "s32le", "-"});
        for (qsizetype i = 0; i < decoded.out.size(); i += 4)
            decoded.out[i] = 0; // 24 bits count
        EXPECT_TRUE(samples == decoded.out);
    }
}

TEST(ForeignClip, ShowsAtEachMomentWhatOtherProgramsShowThen)
{
    TestDir dir;
    const QStringList h264{"-c:v", "libx264", "-pix_fmt", "yuv420p", "-g", "30", "-bf", "3", "-crf", "4"};
    const QStringList prores{"-c:v", "prores_ks", "-c:a", "pcm_s24le"};
    ASSERT_TRUE(make(dir.file("h264.mov"), h264 + QStringList{"-c:a", "aac"}));
    ASSERT_TRUE(make(dir.file("prores.mov"), prores));
    const auto copy = [&dir](const QString &from, const QString &to, const QStringList &how,
                             double start = 0) {
        const QStringList in{"-v", "error", "-y", "-ss", QString::number(start), "-i", dir.file(from)};
        return runProgram("ffmpeg", in + how + QStringList{dir.file(to)}).status == 0;
    };
    // Pictures that are missing stay away: the one before is held.
    const QStringList gap{"-vf", "select=not(between(n\\,20\\,29))", "-fps_mode", "vfr"};
    ASSERT_TRUE(copy("h264.mov", "varies.mp4", gap + h264));
    ASSERT_TRUE(copy("prores.mov", "varies.mov", gap + prores));
    // A cut without coding anew: the file has more than it shows.
    ASSERT_TRUE(copy("h264.mov", "cut.mov", {"-c", "copy"}, 1.0));
    ASSERT_TRUE(copy("prores.mov", "cutintra.mov", {"-c", "copy"}, 1.0));
    ASSERT_TRUE(copy("h264.mov", "silent.mp4", {"-c:v", "copy", "-an"}));
    ASSERT_TRUE(copy("h264.mov", "hevc.mp4",
                     {"-c:v", "libx265", "-x265-params", "log-level=none:crf=4", "-c:a", "copy"}));
    ASSERT_TRUE(copy("h264.mov", "motion.mov", {"-c:v", "mjpeg", "-q:v", "2", "-c:a", "pcm_s16be"}));
    ASSERT_TRUE(copy("h264.mov", "finishing.mov",
                     {"-vf", "scale=256:144", "-pix_fmt", "yuv422p", "-c:v", "dnxhd", "-profile:v",
                      "dnxhr_hq", "-c:a", "pcm_s24le"}));
    // An edit that ends before the pictures do.
    QByteArray bytes = readAll(dir.file("prores.mov"));
    for (qsizetype at = bytes.indexOf("elst"); at > 0; at = bytes.indexOf("elst", at + 1)) {
        const quint32 whole = qFromBigEndian<quint32>(bytes.constData() + at + 12);
        qToBigEndian(whole * 38 / frames, bytes.data() + at + 12);
    }
    writeAll(dir.file("ends.mov"), bytes);

    const struct
    {
        const char *name;
        int length, first;
        bool hasGap, hasSound;
    } cases[] = {
        {"varies.mp4", 75, 0, true, true},     {"varies.mov", 75, 0, true, true},
        {"cut.mov", 50, 25, false, true},      {"cutintra.mov", 50, 25, false, true},
        {"ends.mov", 38, 0, false, true},      {"silent.mp4", 75, 0, false, false},
        {"hevc.mp4", 75, 0, false, true},      {"motion.mov", 75, 0, false, true},
        {"finishing.mov", 75, 0, false, true},
    };
    for (const auto &now : cases) {
        SCOPED_TRACE(now.name);
        QmxClipReader reader;
        const QmxError error = reader.open(dir.file(now.name));
        ASSERT_FALSE(error.isError()) << qPrintable(error.toString());
        const QmxClipInfo info = reader.info();
        EXPECT_NEAR(double(info.frames), now.length, 1);
        EXPECT_TRUE(info.image.frameRate() == QmxVideoRate(25)) << info.image.toString().toStdString();
        EXPECT_EQ(info.audio.isValid(), now.hasSound);
        for (const int number : {0, 10, 19, 20, 25, 29, 30, 36, 24, 12, 1}) {
            QmxFrame got;
            ASSERT_FALSE(reader.readFrame(number, got).isError()) << number;
            const int expected = now.hasGap && number >= 20 && number <= 29 ? 19 : number + now.first;
            EXPECT_NEAR(shownNumber(got), expected,
                        QLatin1String(now.name) == QLatin1String("motion.mov") ? 1 : 0)
                << number;
            if (now.hasSound && number + now.first > 27 && number + now.first < 36) {
                EXPECT_GT(loudness(got), 0.3) << number;
            }
        }
    }
}

TEST(ForeignClip, ADayLongIsAsShortAsAny)
{
    const TestDir dir;
    const QString hour = dir.file("hour.mp4"), day = dir.file("day.mp4");
    // A minute of it sixty times; then that a day's hours long. Picture n has the number n modulo 75.
    const QStringList loop{"-v", "error", "-y", "-stream_loop"};
    const auto made = runProgram(
        "ffmpeg", {"-v", "error", "-y", "-f", "lavfi", "-i",
                   "color=black:s=96x64:r=25:d=60,format=yuv420p,geq=lum='40+2*mod(N,75)':cb=128:cr=128",
                   "-c:v", "libx264", "-g", "25", "-bf", "0", "-crf", "4", dir.file("minute.mp4")});
    ASSERT_EQ(made.status, 0) << made.err.constData();
    ASSERT_EQ(runProgram("ffmpeg", loop + QStringList{"59", "-i", dir.file("minute.mp4"), "-c", "copy", hour})
                  .status,
              0);
    ASSERT_EQ(runProgram("ffmpeg", loop + QStringList{"23", "-i", hour, "-c", "copy", day}).status, 0);

    constexpr int wanted = 24 * 3600 * 25;
    QmxClipReader reader;
    const QmxError error = reader.open(day);
    ASSERT_FALSE(error.isError()) << qPrintable(error.toString());
    EXPECT_EQ(reader.info().frames, wanted);
    for (const int number : {0, wanted - 1, wanted / 2 + 7, 1'234'567, 12, wanted - 1500, 1'234'566}) {
        QmxFrame got;
        ASSERT_FALSE(reader.readFrame(number, got).isError()) << number;
        EXPECT_EQ(shownNumber(got), number % 75) << number;
    }
    QmxFrame none;
    EXPECT_EQ(reader.readFrame(wanted, none).value(), EINVAL);
}

TEST(ForeignClip, AFailingMediumIsToldAndForgiven)
{
    TestDir dir;
    const QString path = dir.file("a.mkv");
    ASSERT_TRUE(
        make(path, {"-c:v", "libx264", "-g", "12", "-pix_fmt", "yuv420p", "-crf", "4", "-c:a", "pcm_s16le"}));
    auto files = std::make_shared<FaultyFiles>();
    const QmxEnvironment environment = withFiles(files);
    // The first is that of our own parser, the second for the pictures, the third open is for the sound.
    const std::pair<FaultyFiles::Call, int> calls[] = {
        {FaultyFiles::Open, 2}, {FaultyFiles::Open, 3}, {FaultyFiles::Pread, 2}, {FaultyFiles::Fstat, 2}};
    for (const auto &[call, nth] : calls) {
        files->failNth(call, nth, EIO, true);
        QmxClipReader reader(environment);
        const QmxError error = reader.open(path);
        EXPECT_EQ(error.value(), EIO) << call;
        EXPECT_TRUE(error.toString().contains("a.mkv"));
        files->clear();
    }
    // Of one without a length the first picture that is whole is looked for while it is opened.
    const QString live = dir.file("live.mkv");
    ASSERT_TRUE(make(live, {"-an", "-vf", "noise=alls=100,scale=640:360", "-c:v", "mjpeg", "-q:v", "2",
                            "-bsf:v", "noise=amount='if(lt(n,60),1,0)'", "-live", "1"}));
    for (int nth = 5; nth <= 100; nth += 5) {
        files->failNth(FaultyFiles::Pread, nth, EIO, true);
        EXPECT_EQ(QmxClipReader(environment).open(live).value(), EIO) << nth;
        files->clear();
    }
    QmxClipReader reader(environment);
    ASSERT_FALSE(reader.open(path).isError());
    QmxFrame got;
    for (const int number : {28, 3})
        ASSERT_FALSE(reader.readFrame(number, got).isError());
    files->vanish(path);
    EXPECT_EQ(reader.readFrame(70, got).value(), EIO);
    files->comeBack();
    ASSERT_FALSE(reader.readFrame(70, got).isError());
    EXPECT_EQ(shownNumber(got), 70);
    // Sound alone: the picture is one of those that are kept.
    files->failNth(FaultyFiles::Pread, 1, EIO);
    EXPECT_EQ(reader.readFrame(28, got).value(), EIO);
    ASSERT_FALSE(reader.readFrame(28, got).isError());
    EXPECT_GT(loudness(got), 0.3);
}

TEST(ForeignClip, SaysWhatIsNoClip)
{
    TestDir dir;
    // Millions of frames in a few bytes, in the description or in a fragment: nobody makes room for them.
    const QString source = dir.file("source.mp4");
    ASSERT_TRUE(make(source, {"-an", "-c:v", "libx264", "-movflags", "frag_keyframe+empty_moov"}));
    for (const auto &[atom, numbers] : {std::pair("stsz", QByteArray::fromHex("000000010400000000000000")),
                                        std::pair("trun", QByteArray::fromHex("0400000000000000"))}) {
        QByteArray bytes = readAll(source);
        const qsizetype at = bytes.lastIndexOf(atom) + 4;
        ASSERT_GT(at, 4);
        writeAll(dir.file("claims.mp4"),
                 bytes.replace(at + 1, 3, QByteArray(3, 0)).replace(at + 4, numbers.size(), numbers));
        QmxClipInfo info;
        EXPECT_EQ(QmxClipReader::probe(dir.file("claims.mp4"), info).value(), EILSEQ);
        EXPECT_EQ(QmxClipReader().open(dir.file("claims.mp4")).value(), EILSEQ);
    }
    // Nor where such an atom does not belong.
    QByteArray hidden = readAll(source);
    for (const char *around : {"moov", "trak"}) {
        const qsizetype at = hidden.indexOf(around) - 4;
        qToBigEndian(qFromBigEndian<quint32>(hidden.constData() + at) + 28, hidden.data() + at);
    }
    const qsizetype track = hidden.indexOf("trak") - 4;
    hidden.insert(track + qFromBigEndian<quint32>(hidden.constData() + track) - 28,
                  QByteArray::fromHex("0000001c") + "udta" + QByteArray::fromHex("00000014") + "stsz" +
                      QByteArray::fromHex("000000000000001004000000"));
    writeAll(dir.file("claims.mp4"), hidden);
    EXPECT_EQ(QmxClipReader().open(dir.file("claims.mp4")).value(), EILSEQ);
    writeAll(dir.file("notes.mov"), "This is a text and not a clip.\n");
    writeAll(dir.file("empty.mov"), "");
    // Pictures without a container: noise looks like them now and then.
    ASSERT_EQ(runProgram("ffmpeg", {"-v", "error", "-f", "lavfi", "-i", "testsrc=s=352x288:d=1", "-f", "h263",
                                    dir.file("bare.mov")})
                  .status,
              0);
    for (const QString &path : {dir.file("notes.mov"), dir.file("empty.mov"), dir.file("bare.mov"),
                                dir.file("missing.mov"), dir.path()}) {
        QmxClipReader reader;
        const QmxError error = reader.open(path);
        EXPECT_TRUE(error.isError());
        EXPECT_TRUE(error.toString().contains(path)) << qPrintable(error.toString());
        EXPECT_FALSE(reader.isOpen());
    }
}

TEST(ForeignClip, HolesThatAreSaidToBeAttachedAreNotRead)
{
    const TestDir dir;
    ASSERT_TRUE(make(dir.file("a.mkv"), {"-an", "-c:v", "mpeg4"}));
    const QByteArray whole = readAll(dir.file("a.mkv"));
    const qsizetype segment = whole.indexOf(QByteArray::fromHex("18538067"));
    const qsizetype cluster = whole.indexOf(QByteArray::fromHex("1f43b675"));
    ASSERT_TRUE(segment > 0 && cluster > segment);
    const auto file = [](const QByteArray &coded) { return QByteArray::fromHex(coded); };
    QFile holed(dir.file("holed.mkv"));
    ASSERT_TRUE(holed.open(QIODevice::WriteOnly));
    // The segment has no stated end; two files of 255 MB, with name, kind and number.
    constexpr qint64 hole = 0x0ff00000;
    holed.write(whole.first(segment) + file("1853806701ffffffffffffff") +
                whole.sliced(segment + 12, cluster - segment - 12) + file("1941a469010000001fe00040"));
    for (int i = 0; i < 2; ++i) {
        holed.write(file("61a7010000000ff00016466e81614660817846ae8101465c010000000ff00000"));
        ASSERT_TRUE(holed.seek(holed.pos() + hole));
    }
    holed.write(whole.sliced(cluster));
    holed.close();
    const QmxError error = QmxClipReader().open(dir.file("holed.mkv"));
    EXPECT_EQ(error.value(), EILSEQ);
    EXPECT_TRUE(error.toString().contains("too much memory")) << qPrintable(error.toString());
}

TEST(ForeignClip, AFileThatEndsItsDecoderTwiceIsNotOpenedAgain)
{
    const TestDir dir;
    const auto dieWhileDecoding = [&dir](qint64 changed = 8, bool isIdle = false) {
        const pid_t child = ::fork();
        if (child == 0) {
            DecodingMark mark(dir.path());
            const bool refused = mark.begin("/media/A/fatal.mov", 7, changed).isError();
            if (isIdle) mark.end();
            ::_exit(refused ? 1 : 0); // as a crash: nobody ends it
        }
        int status = -1;
        ::waitpid(child, &status, 0);
        return WEXITSTATUS(status) == 0;
    };
    const auto decode = [&dir](qint64 changed, int pictures) {
        DecodingMark probe(dir.path());
        ASSERT_FALSE(probe.begin("/media/A/fatal.mov", 7, changed).isError());
        probe.decoded(pictures, false);
        probe.end();
        const DecodingMark::Standing again(probe);
    };
    EXPECT_TRUE(dieWhileDecoding());
    decode(8, 1); // it can be opened, and its first picture is whole: that says nothing of the next
    EXPECT_TRUE(dieWhileDecoding()) << "once may have had another reason";
    EXPECT_FALSE(dieWhileDecoding());
    DecodingMark mark(dir.path());
    EXPECT_FALSE(mark.begin("/media/A/fatal.mov", 7, 9).isError()) << "it has changed";
    DecodingMark sound(dir.path());
    EXPECT_FALSE(sound.begin("/media/A/fatal.mov", 7, 9).isError()) << "the same process, at the same file";
    mark.end();
    EXPECT_FALSE(dieWhileDecoding()) << "the other state of the file is as it was";
    for (int i = 0; i < 4; ++i) {
        EXPECT_TRUE(dieWhileDecoding(10, true)) << "the decoder was not at work";
        EXPECT_TRUE(dieWhileDecoding(11)) << "an accident, since much of it could be decoded";
        decode(11, 250);
    }
    EXPECT_FALSE(DecodingMark(dir.file("none")).begin("/media/A/fatal.mov", 7, 8).isError())
        << "no place for notes";
}
