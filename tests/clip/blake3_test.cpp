// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/codec/prores/prorestargets.h"

#include "platform/qmx/clip/movcrc.h"
#include "platform/qmx/clip/qmxblake3.h"
#include "tests/support/testfiles.h"

#include <gtest/gtest.h>

#include <hwy/targets.h>
#include <random>

/// b3sum is another program by other people: what both make of the same bytes is BLAKE3.
TEST(QmxBlake3, givesWhatB3sumGivesWithEveryInstructionSet)
{
    TestDir dir;
    std::minstd_rand random(3);
    QByteArray data(3'000'001, Qt::Uninitialized);
    for (char &byte : data)
        byte = char(random() >> 8);
    // Around blocks, chunks, groups of lanes and batches.
    const QList<qsizetype> sizes = {0,      1,      63,     64,     65,         1023,   1024,
                                    1025,   2048,   2049,   17000,  131071,     131072, 131073,
                                    262144, 262145, 393217, 655360, data.size()};
    QStringList names{"--no-names"};
    for (const qsizetype size : sizes) {
        names.append(dir.file(QString::number(size)));
        writeAll(names.last(), data.first(size));
    }
    const QByteArrayList sums = runProgram("b3sum", names).out.trimmed().split('\n');
    ASSERT_EQ(sums.size(), sizes.size());
    for (const int64_t target : hwy::SupportedAndGeneratedTargets()) {
        SCOPED_TRACE(hwy::TargetName(target));
        hwy::SetSupportedTargetsForTest(target);
        for (qsizetype i = 0; i < sizes.size(); ++i) {
            quint32 crc = 0;
            EXPECT_EQ(QmxBlake3::toHex(QmxBlake3::hash(data.constData(), size_t(sizes[i]), &crc)), sums[i]);
            EXPECT_EQ(crc, movCrc32c(data.constData(), size_t(sizes[i]))) << sizes[i];
            QmxBlake3 fed;
            for (qsizetype at = 0; at < sizes[i];) {
                const qsizetype step = std::min<qsizetype>(sizes[i] - at, qsizetype(1 + random() % 200'000));
                fed.add(data.constData() + at, size_t(step));
                at += step;
            }
            EXPECT_EQ(QmxBlake3::toHex(fed.result()), sums[i]) << sizes[i];
        }
    }
    hwy::SetSupportedTargetsForTest(0);
}
