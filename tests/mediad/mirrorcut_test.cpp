// SPDX-License-Identifier: GPL-3.0-or-later
// A power cut while two writers are at the two copies of a take: what may then be on the media is put
// together from all that they have written, in every order that a disk may choose between two syncs.
#include "companions/mediad/clipcomplete.h"
#include "platform/qmx/clip/qmxclipcheck.h"
#include "tests/clip/cliptake.h"
#include "tests/clip/recordedfiles.h"
#include "tests/support/faultyfiles.h"
#include "tests/support/print.h"
#include "tests/support/rounds.h"
#include "tests/support/testfiles.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>

#include <random>

TEST(MirrorPowerCut, eachCopyIsReadableAloneAndTheMendIsExact)
{
    const TestDir dir;
    QDir(dir.path()).mkpath("a");
    QDir(dir.path()).mkpath("b");
    const QString paths[] = {dir.file("a/take.mov"), dir.file("b/take.mov")};
    ClipTake take({128, 96, 25, 1, 203, 0, 2, false, 0});
    take.info.created = 1'700'000'000;
    take.jump(17, 500);
    constexpr int frames = 60;
    struct Safe
    {
        qsizetype acts;
        qint64 frames[2];
    };
    QList<Safe> safe{{0, {0, 0}}};
    qsizetype closing = 0;
    const auto recording = std::make_shared<RecordedFiles>();
    {
        QmxClipWriter writers[2] = {QmxClipWriter(withFiles(recording)), QmxClipWriter(withFiles(recording))};
        // The second one is some frames behind and flushes at other moments; it closes first.
        constexpr int behind[] = {0, 5};
        const auto told = [&] {
            safe.append(
                Safe{recording->acts.size(), {writers[0].framesDurable(), writers[1].framesDurable()}});
        };
        for (int i = 0; i < 2; ++i)
            ASSERT_EQ(writers[i].create(paths[i], take.info), QmxError());
        for (int now = 0; now < frames + behind[1]; ++now)
            for (int i = 0; i < 2; ++i) {
                const int frame = now - behind[i];
                if (frame < 0 || frame >= frames) continue;
                ASSERT_EQ(writers[i].writeFrame(take.frame(frame)), QmxError());
                const bool flushes = frame % 12 == 11;
                EXPECT_EQ(flushes ? writers[i].flush() : QmxError(), QmxError());
                told();
            }
        closing = recording->acts.size();
        for (const int i : {1, 0}) {
            ASSERT_EQ(writers[i].close(), QmxError());
            told();
        }
    }
    std::mt19937 chance(20);
    const QmxEnvironment environment = QmxEnvironment::current();
    const int rounds = testRounds(60, 2000);
    int both = 0;
    int lost = 0; // by the disk that lies
    for (int round = 0; round < rounds; ++round) {
        const qsizetype from = round % 2 == 0 ? 0 : closing;
        const auto cut = from + qsizetype(chance() % quint32(recording->acts.size() - from + 1));
        SCOPED_TRACE(cut);
        const unsigned arrives = round % 3 * 50; // percent: nothing, half, everything
        qint64 had[2] = {};
        const auto said =
            std::find_if(safe.rbegin(), safe.rend(), [cut](const Safe &known) { return known.acts <= cut; });
        for (int i = 0; i < 2; ++i) {
            const auto keeps = [&] { return chance() % 100 < arrives; };
            recording->leave(paths[i], cut, keeps, true);
            lost += QmxClipReader().open(paths[i]).isError() && said->frames[i] > 0;
            recording->leave(paths[i], cut, keeps, false);
            had[i] = take.wholeFrames(paths[i]);
            EXPECT_GE(had[i], said->frames[i]) << "copy " << i << " lacks what was said to be safe";
        }
        const qint64 most = std::max(had[0], had[1]);
        if (most == 0) continue;
        both += had[0] != had[1] && had[0] > 0 && had[1] > 0;
        std::string text;
        ASSERT_EQ(completeCopy(
                      paths[0].toStdString(), paths[1].toStdString(), environment,
                      [](qint64, qint64) { return true; }, text),
                  QmxError())
            << text;
        for (const QString &path : paths) {
            EXPECT_EQ(take.wholeFrames(path), most) << text;
            QmxClipCheck check;
            ASSERT_EQ(QmxClipCheck::run(path, check, environment), QmxError());
            EXPECT_TRUE(check.isWhole() && check.closed && check.hasProof) << check.sentence().toStdString();
        }
    }
    EXPECT_GT(lost, 0) << "this test would not notice a loss";
    EXPECT_GT(both, rounds / 20) << "hardly a cut has left two copies that differ";
}
