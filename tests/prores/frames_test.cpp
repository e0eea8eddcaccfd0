// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/prores/proresrig.h"

#include <gtest/gtest.h>

namespace {
constexpr int dataTypes[] = {202, 203, 204, 205, 206};
constexpr ProResFormat::Scan scans[] = {ProResFormat::Progressive, ProResFormat::TopFieldFirst,
                                        ProResFormat::BottomFieldFirst};

std::string describe(const ProResFormat &format)
{
    return std::string(format.kind->fourcc) + " " + std::to_string(format.size.width()) + "x" +
           std::to_string(format.size.height()) + " scan " + std::to_string(format.scan) +
           (format.alpha ? " alpha" : "");
}
} // namespace

TEST(ProResFrames, everyKindRasterAndScanDecodes)
{
    // Every raster that can be recorded, with every scan; those of one HD and one SD raster with every kind.
    constexpr QSize rasters[] = {{720, 486},   {720, 576},   {1280, 720}, {1920, 1080},
                                 {2048, 1080}, {3840, 2160}, {4096, 2160}};
    std::minstd_rand random(1);
    for (size_t i = 0; i < std::size(rasters); ++i)
        for (const int type : dataTypes)
            for (const ProResFormat::Scan scan : scans) {
                const bool everyKind = rasters[i].height() == 486 || rasters[i].width() == 1920;
                if (!everyKind && type != dataTypes[(i + size_t(scan)) % std::size(dataTypes)]) continue;
                const bool alpha = type == 206 && scan == ProResFormat::TopFieldFirst;
                const ProResFormat format = proResTestFormat(type, rasters[i], scan, alpha);
                SCOPED_TRACE(describe(format));
                ProResFrameCoder coder(format);
                ProResTestFrame frame(format);
                paint(frame, ProResTestKind::Edges, random);
                ASSERT_EQ(verify(format, frame, coder.encode(frame.planes())), "");
            }
}

TEST(ProResFrames, randomPicturesKeepTheErrorOfTheirQuantiser)
{
    for (int i = 0; i < picturesWanted(); ++i) {
        std::minstd_rand random(unsigned(i) * 7919U + 1);
        const ProResFormat format = randomFormat(random);
        SCOPED_TRACE("picture " + std::to_string(i) + " " + describe(format));
        ProResFrameCoder coder(format);
        if (random() % 2) coder.setFixedQuantiser(1 + int(random() % (random() % 2 ? 224 : 8)));
        ProResTestFrame frame(format);
        paint(frame, ProResTestKind(random() % proResTestKinds), random);
        const QmxBuffer coded = coder.encode(frame.planes());
        ASSERT_EQ(verify(format, frame, coded), "");
    }
}
