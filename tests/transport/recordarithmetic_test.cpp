// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/product/stillfiles.h"
#include "tests/support/print.h"
#include "xpd/transport/intervalrecord.h"

#include <QSet>

#include <gtest/gtest.h>

namespace {

QmxImageDesc picture(int width, int height, bool interlaced, int dataType)
{
    QmxImageDesc desc;
    desc.setSize(width, height);
    desc.setScanMode(interlaced ? 1 : 0);
    desc.setDataType(QmxId(dataType));
    return desc;
}

} // namespace

TEST(IntervalRecord, step_dividesThePeriodAndBoundsTheRequest)
{
    struct Row
    {
        int period, interval;
        float previous, frames;
        bool zero, tooHigh;
    };
    const Row rows[] = {
        {0, 10, 9, 2.5F, false, false},     {1, 1, 9, 1500, false, false},     {2, 2, 9, 45000, false, false},
        {0, 0, 9, 25, true, false},         {0, 50, 9, 1, false, true},        {0, -1, 9, 1, false, true},
        {7, 1, 12.5F, 12.5F, false, false}, {7, 5, 12.5F, 2.5F, false, false},
    };
    for (const Row &row : rows) {
        const auto step = IntervalRecord::step(25, row.period, row.interval, row.previous);
        EXPECT_FLOAT_EQ(step.frames, row.frames) << row.period << ' ' << row.interval;
        EXPECT_EQ(step.totalIsZero, row.zero);
        EXPECT_EQ(step.totalTooHigh, row.tooHigh);
    }
}

TEST(StillFiles, find_answersForEverySizeScanAndFamily)
{
    const struct
    {
        int width, height;
        bool interlaced;
        const char *word;
    } sizes[] = {{720, 486, true, "525i"},    {720, 576, true, "625i"},     {1280, 720, false, "720p"},
                 {1920, 1080, true, "1080i"}, {1920, 1080, false, "1080p"}, {2048, 1080, true, "2ki"},
                 {2048, 1080, false, "2kp"},  {3840, 2160, true, "qhdi"},   {3840, 2160, false, "qhdp"},
                 {4096, 2160, true, "4ki"},   {4096, 2160, false, "4kp"}};
    QSet<QString> named;
    for (const auto &size : sizes) {
        for (const int dataType : {202, 203, 204, 205, 206}) {
            const QString family = dataType == 206 ? "444" : "422";
            const QString name = findStillFile(picture(size.width, size.height, size.interlaced, dataType));
            EXPECT_EQ(name, QStringLiteral("prores_%1/loss_of_video_%2_%1.mov").arg(family, size.word));
            named.insert(name);
        }
        for (const int dataType : {0, 201, 207, 230, 231, 250})
            EXPECT_EQ(findStillFile(picture(size.width, size.height, size.interlaced, dataType)), "");
    }
    EXPECT_EQ(named.size(), stillFiles().size());
    EXPECT_EQ(named.size(), 22);
    EXPECT_EQ(findStillFile(picture(1280, 720, true, 202)), "");
    EXPECT_EQ(findStillFile(picture(1440, 1080, false, 202)), "");
    QmxImageDesc segmented = picture(1920, 1080, false, 203);
    segmented.setScanMode(2);
    EXPECT_EQ(findStillFile(segmented), "prores_422/loss_of_video_1080p_422.mov");
}
