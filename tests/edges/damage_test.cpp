// SPDX-License-Identifier: GPL-3.0-or-later
// A stream that loses packets on its way.
#include "platform/qmx/edges/qmxsourcedecoder.h"
#include "platform/qmx/edges/qmxstrip.h"
#include "tests/edges/pictures.h"
#include "tests/support/logcollector.h"
#include "tests/support/print.h"

#include <gtest/gtest.h>

#include <random>

TEST(LiveSource, tellsTornPicturesFromWholeOnesAndMissesWhatDidNotCome)
{
    const TestDir dir;
    constexpr int frames = 250;
    for (const char *coding : {"-c:v mpeg2video -b:v 4M -g 12 -bf 0", "-c:v libx264 -b:v 2M -g 25 -bf 2"}) {
        SCOPED_TRACE(coding);
        const QString path = dir.file("clip.ts");
        makeClip(path, QStringLiteral("720x576p25"), frames,
                 QStringLiteral("%1 -pix_fmt yuv420p -c:a mp2 -ac 2 -f mpegts")
                     .arg(QLatin1String(coding))
                     .split(QLatin1Char(' ')));
        const QByteArray stream = readAll(path);
        constexpr int packet = 188;
        std::mt19937 random(7);
        QByteArray damaged;
        for (qsizetype at = 0; at < stream.size(); at += packet)
            if (at < stream.size() / 10 || random() % 100 != 0) damaged += stream.mid(at, packet);
        writeAll(path, damaged);

        QmxSourceDecoder decoder(path, QmxSourceDecoder::Latency::Low, [] { return false; });
        ASSERT_EQ(decoder.open(), QmxError());
        int torn = 0, missing = 0, pictures = 0, unseen = 0;
        for (auto step = decoder.step(); step != QmxSourceDecoder::Step::End; step = decoder.step()) {
            ASSERT_NE(step, QmxSourceDecoder::Step::Failed);
            if (step != QmxSourceDecoder::Step::Video) continue;
            ++pictures;
            torn += decoder.isTorn();
            missing += decoder.missing();
            unseen += !decoder.isTorn() && !QmxStrip::read(decoder.picture());
        }
        EXPECT_GT(torn, 5);
        EXPECT_LT(torn, frames * 9 / 10);
        // Nearly all of them: what a decoder conceals without a word passes.
        EXPECT_LE(unseen, torn / 8) << "torn pictures that pass for whole ones";
        EXPECT_NEAR(pictures + missing, frames, 3);
    }
}
