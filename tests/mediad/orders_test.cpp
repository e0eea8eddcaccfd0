// SPDX-License-Identifier: GPL-3.0-or-later
// What the media daemon does for an operator: copies, marks, deletions, and what it tells of the room left.
#include "companions/mediad/clipcare.h"
#include "companions/mediad/clipcopy.h"
#include "companions/mediad/clipverify.h"
#include "companions/mediad/mediajobs.h"
#include "companions/mediad/openfile.h"
#include "companions/mediad/orderrules.h"
#include "companions/mediad/recordtime.h"
#include "platform/product/mediaorder.h"
#include "platform/product/nominalrate.h"
#include "platform/store/eparam.h"
#include "platform/store/paramdescriptor.h"
#include "tests/clip/cliptake.h"
#include "tests/support/faultyfiles.h"
#include "tests/support/print.h"
#include "tests/support/stepper.h"
#include "tests/support/testfiles.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>

#include <cerrno>
#include <functional>

#include <sys/file.h>

namespace {

/// A medium that keeps one byte wrong.
class RottenFiles : public QmxFiles
{
public:
    ssize_t pwrite(int fd, const void *data, size_t size, off64_t offset) override
    {
        QByteArray bytes(static_cast<const char *>(data), qsizetype(size));
        if (offset > 0) bytes[0] = char(bytes[0] ^ 1);
        return QmxFiles::pwrite(fd, bytes.constData(), size, offset);
    }
};

class Copy : public testing::Test
{
protected:
    Copy()
    {
        environment.files = files;
        QDir().mkpath(dir.file("to"));
        content.resize(3'000'000);
        char *byte = content.data();
        for (int i = 0; i < int(content.size()); ++i)
            *byte++ = char(i * 7919LL >> 5);
        writeAll(from, content);
    }

    QmxError copy(std::function<bool(qint64, qint64)> pace = [](qint64, qint64) { return true; })
    {
        return copyClip(from.toStdString(), to.toStdString(), environment, pace);
    }
    QStringList left() const { return QDir(dir.file("to")).entryList(QDir::Files | QDir::Hidden); }

    TestDir dir;
    const QString from = dir.file("take.mov");
    const QString to = dir.file("to/take.mov");
    QByteArray content;
    std::shared_ptr<FaultyFiles> files = std::make_shared<FaultyFiles>();
    QmxEnvironment environment = QmxEnvironment::current();
};

Medium medium(const std::string &path, double percentFree)
{
    Medium result;
    result.path = path;
    result.label = path;
    result.writable = true;
    result.percentFree = percentFree;
    result.bytesTotal = 1'000'000;
    result.bytesFree = static_cast<std::int64_t>(percentFree * 10'000);
    result.names = {"take.mov"};
    return result;
}

} // namespace

TEST_F(Copy, isTheClipWithItsTimeAndNothingElse)
{
    writeAll(dir.file("to/.take.mov.part"), "of a copy that a crash has ended");
    qint64 last = 0;
    EXPECT_EQ(copy([&last](qint64 done, qint64 total) {
                  EXPECT_GT(done, last);
                  EXPECT_LE(done, total);
                  last = done;
                  return true;
              }),
              QmxError());
    EXPECT_EQ(last, 2 * content.size());
    EXPECT_EQ(readAll(to), content);
    EXPECT_EQ(left(), QStringList("take.mov"));
    EXPECT_EQ(QFileInfo(to).lastModified(), QFileInfo(from).lastModified());
    EXPECT_EQ(copy().value(), EEXIST);
    EXPECT_EQ(readAll(to), content);
}

TEST_F(Copy, leavesNothingBehindWhenItFails)
{
    const struct
    {
        const char *name;
        std::function<void(FaultyFiles &)> fault;
        int error;
    } rows[] = {
        {"source", [](FaultyFiles &f) { f.failNth(FaultyFiles::Pread, 2, EIO); }, EIO},
        {"target", [](FaultyFiles &f) { f.failNth(FaultyFiles::Pwrite, 3, ENOSPC); }, ENOSPC},
        {"sync", [](FaultyFiles &f) { f.failNth(FaultyFiles::Fdatasync, 1, EIO); }, EIO},
        {"reading back", [](FaultyFiles &f) { f.failNth(FaultyFiles::Pread, 5, EIO); }, EIO},
        {"locked", [](FaultyFiles &f) { f.failNth(FaultyFiles::Flock, 1, EWOULDBLOCK); }, EWOULDBLOCK},
        {"no room",
         [](FaultyFiles &f) {
             f.fakeStatfs([](const QString &, struct statfs64 &data) {
                 data.f_bsize = 1'000'000;
                 data.f_blocks = 100;
                 data.f_bfree = 13; // three of which the copy takes
             });
         },
         ENOSPC},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.name);
        row.fault(*files);
        EXPECT_EQ(copy().value(), row.error);
        EXPECT_EQ(left(), QStringList());
        files->clear();
        files->fakeStatfs({});
    }
    EXPECT_EQ(copy([](qint64 done, qint64) { return done < 2'000'000; }).value(), ECANCELED);
    EXPECT_EQ(left(), QStringList());
    environment.files = std::make_shared<RottenFiles>();
    const QmxError rotten = copy();
    EXPECT_EQ(rotten.value(), EIO);
    EXPECT_TRUE(rotten.toString().contains("differs")) << rotten.toString().toStdString();
    EXPECT_EQ(left(), QStringList());
    EXPECT_EQ(readAll(from), content);
}

TEST_F(Copy, aClipOfOursIsCheckedByItsProofAndWhatIsDamagedIsNamed)
{
    const ClipTake take({128, 96, 25, 1, 203, 0, 2, false, 90000});
    QFile::remove(from);
    take.make(from, 40, true);
    writeAll(dir.file("foreign.mov"), content);
    std::string finding;
    const auto copied = [&] {
        QFile::remove(to);
        return copyClip(from.toStdString(), to.toStdString(), environment,
                        {[](qint64, qint64) { return true; }}, &finding);
    };
    EXPECT_EQ(copied(), QmxError());
    EXPECT_TRUE(finding.starts_with("it is what was recorded, chain ")) << finding;
    QByteArray bytes = readAll(from);
    bytes[bytes.size() / 2] = char(bytes[bytes.size() / 2] ^ 1);
    writeAll(from, bytes);
    EXPECT_EQ(copied(), QmxError());
    EXPECT_TRUE(finding.starts_with("the clip itself is damaged")) << finding;
    EXPECT_EQ(readAll(to), bytes);

    take.make(dir.file("open.mov"), 30, false);
    VerifiedClips all;
    qint64 last = 0;
    const auto pace = [&](qint64 done, qint64 total) {
        EXPECT_LE(last, done);
        EXPECT_LE(done, total);
        last = done;
        return true;
    };
    EXPECT_EQ(verifyClips(dir.path().toStdString(), {}, environment, pace, all), QmxError());
    EXPECT_EQ(all.report["checked"], 2) << all.text;
    EXPECT_EQ(all.report["damaged"], 1);
    EXPECT_EQ(all.report["not_ours"], 1);
    EXPECT_EQ(all.report["is_whole"], false);
    const QJsonObject damaged = all.report["clips"].toArray().first().toObject();
    EXPECT_EQ(damaged["clip"], "take.mov");
    EXPECT_FALSE(damaged["damage"].toArray().isEmpty());
    EXPECT_EQ(verifyClips(dir.path().toStdString(), "foreign.mov", environment, pace, all).value(), ENOTSUP);
    EXPECT_EQ(verifyClips(dir.path().toStdString(), "none.mov", environment, pace, all).value(), ENOENT);
    EXPECT_EQ(
        verifyClips(
            dir.path().toStdString(), "take.mov", environment, [](qint64, qint64) { return false; }, all)
            .value(),
        ECANCELED);
}

TEST_F(Copy, aClipIsDeletedOnlyWhenNobodyProtectsOrUsesIt)
{
    const std::string path = from.toStdString();
    EXPECT_EQ(protectClip(path, true, environment), QmxError());
    EXPECT_EQ(deleteClip(path, environment).value(), EPERM);
    EXPECT_EQ(protectClip(path, false, environment), QmxError());
    {
        const OpenFile recorded(*files, path, O_RDWR);
        ASSERT_EQ(files->flock(recorded.fd(), LOCK_EX), 0);
        EXPECT_EQ(deleteClip(path, environment).value(), EWOULDBLOCK);
    }
    EXPECT_TRUE(QFile::exists(from));
    EXPECT_EQ(deleteClip(path, environment), QmxError());
    EXPECT_FALSE(QFile::exists(from));
    EXPECT_EQ(deleteClip(path, environment).value(), ENOENT);
}

TEST_F(Copy, anOrderWaitsForThoseOfItsClipAloneAndWhatIsPlayedWhenItsTurnComesIsNotDeleted)
{
    const std::string folder = dir.path().toStdString();
    writeAll(dir.file("other.mov"), content);
    QStringList told;
    MediaJobs jobs(environment, [&told](const MediaOrder &order, const MediaOrderState &state) {
        if (state.state != "running" || order.verb == "delete")
            told << QString::fromStdString(order.verb + " " + order.clip + " " + state.state);
    });
    files->hang(FaultyFiles::Pread);
    jobs.start({"1", "copy", "take.mov", folder, folder + "/to"});
    jobs.start({"2", "delete", "take.mov", folder, ""});
    jobs.start({"3", "delete", "other.mov", folder, ""});
    EXPECT_TRUE(Stepper::runUntil([&told] { return told.contains("delete other.mov done"); }));
    EXPECT_EQ(told.filter("take.mov"), QStringList("delete take.mov running"));
    MediaParameters is;
    is.daemonRuns = true;
    is.active = folder;
    is.currentClip = "take.mov";
    is.status = TransportStatus::Still;
    jobs.follow(is);
    files->release();
    EXPECT_TRUE(Stepper::runUntil([&told] { return told.last() == "delete take.mov refused"; }));
    EXPECT_EQ(told.filter("take.mov"),
              QStringList({"delete take.mov running", "copy take.mov done", "delete take.mov refused"}));
    EXPECT_TRUE(QFile::exists(from));
}

TEST(MediaOrders, nonsenseIsRefusedWithASentence)
{
    const char *const good =
        R"({"id":"7","verb":"copy","clip":"take.mov","from":"/media/A","to":"/media/B"})";
    std::string id;
    std::string problem;
    const auto order = MediaOrder::parse(good, id, problem);
    ASSERT_TRUE(order) << problem;
    EXPECT_EQ(MediaOrder::parse(order->print(), id, problem)->print(), order->print());
    for (const char *text :
         {"", "[]", "{\"id\":7}", R"({"verb":"format","clip":"take.mov"})",
          R"({"verb":"delete","clip":"../../etc/passwd.mov"})", R"({"verb":"delete","clip":".mov"})",
          R"({"verb":"delete","clip":"passwd"})", R"({"verb":"copy","clip":"take.mov","from":"/media/A"})",
          R"({"verb":"copy","clip":"take.mov","from":"/media/A","to":"/media/A"})"}) {
        problem.clear();
        EXPECT_FALSE(MediaOrder::parse(text, id, problem)) << text;
        EXPECT_FALSE(problem.empty()) << text;
    }

    // The answer to whatever comes fits into its parameter.
    CreateDescriptors();
    const std::string much(16'000, 'x');
    for (const std::string &text : {std::string(R"({"id":"\u007f","verb":"x"})"), R"({"id":")" + much + "\"}",
                                    R"({"id":"8","verb":"\u007f\u0085)" + much + "\"}"}) {
        EXPECT_FALSE(MediaOrder::parse(text, id, problem));
        const std::string answer = MediaOrderState{id, "refused", 0, problem}.print();
        EXPECT_TRUE(GetDescriptor(eParam_MediaOrderState)->check(StoreValue::fromString(answer), problem))
            << problem;
    }

    std::vector<Medium> media{medium("/media/A", 50), medium("/media/B", 50)};
    MediaParameters is;
    is.daemonRuns = true;
    is.active = "/media/A";
    is.currentClip = "take.mov";
    is.status = TransportStatus::Stopped;
    EXPECT_EQ(whyRefused(*order, media, is), "");
    MediaOrder remove{"", "delete", "take.mov", "/media/A", ""};
    EXPECT_EQ(whyRefused(remove, media, is), "");
    is.status = TransportStatus::Still;
    EXPECT_NE(whyRefused(remove, media, is), "") << "it plays";
    is.currentClip = "other.mov";
    EXPECT_EQ(whyRefused(remove, media, is), "");
    is.playbackSource = PlaybackSource::AllClips;
    EXPECT_NE(whyRefused(remove, media, is), "") << "the list plays";
    EXPECT_EQ(whyRefused({"", "delete", "take.mov", "/media/B", ""}, media, is), "");
    EXPECT_NE(whyRefused({"", "protect", "gone.mov", "/media/B", ""}, media, is), "");
    EXPECT_NE(whyRefused({"", "protect", "take.mov", "/media/C", ""}, media, is), "");
    const auto exported = [&](const char *to) {
        return whyRefused({"", "export", "", "/media/A", to, false, "take.mov"}, media, is);
    };
    EXPECT_EQ(exported("/media/B/part.mov"), "");
    for (const char *to : {"/etc/part.mov", "/media/B/../../etc/part.mov", "/media/Bx/part.mov", "part.mov"})
        EXPECT_NE(exported(to), "") << to;
    media[1].writable = false;
    EXPECT_NE(exported("/media/B/part.mov"), "");
    EXPECT_NE(whyRefused(*order, media, is), "");
    EXPECT_NE(whyRefused({"", "protect", "take.mov", "/media/B", ""}, media, is), "");
}

TEST(RecordTime, comesFromTheTakeThatRunsElseFromTheNewestClip)
{
    std::vector<Medium> media{medium("/media/A", 60), medium("/media/B", 30), medium("/media/C", 12)};
    MediaParameters is;
    is.active = "/media/A";
    is.rollover = "/media/B";
    RecordTime time;
    EXPECT_EQ(time.report(media, is).media[0].secondsLeft, -1);
    EXPECT_EQ(time.report(media, is).secondsLeft, 0);
    // Before anything is recorded, and whatever easy picture was: what codec and format can come to.
    time.setNominal(10'000);
    EXPECT_EQ(time.report(media, is).media[0].secondsLeft, 49);
    media[1].newestRate = 5'000;
    EXPECT_EQ(time.rate(media), 10'000);
    time.setNominal(0);
    EXPECT_EQ(time.report(media, is).media[0].secondsLeft, 99); // (60 - 10.5) % of a million bytes
    time.observe(10'000, 49, 25);
    EXPECT_EQ(time.rate(media), 5'000) << "too short to say";
    time.observe(100'000, 250, 25);
    const auto alone = time.report(media, is);
    EXPECT_EQ(alone.media[1].secondsLeft, 19);
    EXPECT_EQ(alone.media[2].secondsLeft, 1);
    EXPECT_EQ(alone.secondsLeft, 49) << "without rollover the active one alone";
    is.rolloverEnabled = true;
    EXPECT_EQ(time.report(media, is).secondsLeft, 49 + 21) << "C is too full to go on to, the last to 8 %";
    media[1].writable = false;
    EXPECT_EQ(time.report(media, is).secondsLeft, 51);
    EXPECT_EQ(time.report(media, is).media[1].state, "read_only");
    const auto back = MediumReport::parse(MediumReport::print(alone.media));
    ASSERT_EQ(back.size(), 3u);
    EXPECT_EQ(back[0].secondsLeft, 49);
    EXPECT_EQ(back[2].state, "usable");
}

TEST(RecordTime, countsWhatOthersWriteOnTheSameMedium)
{
    constexpr std::int64_t second = 1'000'000'000;
    std::vector<Medium> media{medium("/media/A", 60)};
    MediaParameters is;
    is.active = "/media/A";
    RecordTime time;
    time.setNominal(10'000);
    // Nine seconds in which 20,000 bytes a second go, of which half are our own.
    for (int i = 0; i < 10; ++i) {
        media[0].recordedBytes = i * 10'000;
        media[0].bytesFree -= i ? 20'000 : 0;
        time.observeRoom(i * second, media);
    }
    EXPECT_EQ(time.othersRate("/media/A"), 10'000);
    EXPECT_EQ(time.report(media, is).media[0].secondsLeft, (600'000 - 180'000 - 105'000) / 20'000);
    media[0].bytesFree += 50'000; // somebody deletes: until it is known anew nobody writes
    time.observeRoom(10 * second, media);
    EXPECT_EQ(time.othersRate("/media/A"), 0);
}

TEST(RecordTime, knowsWhatCodecsAndFormatsComeTo)
{
    struct Case
    {
        unsigned codec;
        const char *format;
        double megabits; ///< of the picture, as published for the codec
    };
    for (const Case &one : {Case{0, "1080i29.97", 147}, Case{1, "1080p25", 184}, Case{3, "1080p25", 38},
                            Case{7, "1080p29.97", 330}, Case{8, "576i25", 165.9}, Case{0, "none", 0}}) {
        const double bytes = nominalRate(one.codec, one.format, 0);
        EXPECT_NEAR(bytes * 8 / 1e6, one.megabits, one.megabits * 0.05) << one.codec << one.format;
    }
    EXPECT_NEAR(nominalRate(0, "1080p25", 8) - nominalRate(0, "1080p25", 2), 6 * 144000, 1);
}
