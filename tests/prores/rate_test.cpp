// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/codec/prores/proresframedecoder.h"
#include "tests/prores/proresrig.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <cstdlib>
#include <deque>
#include <new>
#include <thread>

namespace {
std::atomic<qint64> allocations = 0;

/// A few threads a call.
class TestHelpers : public QmxHelpers
{
public:
    int threads() const override { return 3; }
    bool anyIdle() const override { return true; }
    void run(int count, void (*job)(void *, int, int), void *context) override
    {
        std::atomic<int> next = 0;
        std::vector<std::thread> threads;
        threads.reserve(size_t(this->threads()));
        for (int thread = 0; thread < this->threads(); ++thread)
            threads.emplace_back([&, thread] {
                for (int i = next++; i < count; i = next++)
                    job(context, i, thread);
            });
        for (std::thread &thread : threads)
            thread.join();
    }
};

/// Part of a film: its picture changes from frame to frame, its nature from scene to scene.
void paintScene(ProResTestFrame &frame, int scene, int number)
{
    std::minstd_rand random(unsigned(scene * 1000 + number + 1));
    constexpr int grains[] = {300, 60, 700, 120};
    const unsigned grain = unsigned(grains[scene % 4]);
    for (int plane = 0; plane < 3; ++plane)
        for (int y = 0; y < frame.size.height(); ++y)
            for (int x = 0; x < frame.width(plane); ++x) {
                // Half of the picture is much harder than the other.
                const unsigned noise = unsigned(random()) % (x < frame.width(plane) / 2 ? grain : grain / 4);
                frame.at(plane, x, y) = quint16(100 + (x + number) % 64 + int(noise));
            }
}
} // namespace

void *operator new(size_t size)
{
    ++allocations;
    if (void *memory = std::malloc(size)) return memory;
    std::abort();
}
void operator delete(void *memory) noexcept
{
    std::free(memory);
}
void operator delete(void *memory, size_t) noexcept
{
    std::free(memory);
}

TEST(ProResRate, anyTenSecondsAreNearNominalAndNoFrameIsAboveTheLimit)
{
    // The shortest ten seconds, those at 23.976 frames a second, are the hardest ones.
    constexpr size_t frames = 500, window = 240;
    constexpr int sceneLength = 50;
    for (const int type : {202, 203, 204, 205, 206}) {
        SCOPED_TRACE(type);
        const ProResFormat format = proResTestFormat(type, QSize(272, 160), ProResFormat::Progressive);
        const int nominal = ProRes::nominalSize(*format.kind, format.size);
        ProResFrameCoder coder(format);
        ProResTestFrame frame(format);
        EXPECT_LE(coder.limit(), nominal * 1.06);
        std::deque<qsizetype> sizes;
        double bytes = 0, furthest = 0;
        for (size_t i = 0; i < frames; ++i) {
            paintScene(frame, int(i) / sceneLength, int(i));
            const QmxBuffer coded = coder.encode(frame.planes());
            ASSERT_LE(coded.size(), coder.limit()) << i;
            EXPECT_GT(coded.size(), nominal * 0.9) << i;
            sizes.push_back(coded.size());
            bytes += double(coded.size());
            if (sizes.size() < window) continue;
            furthest = std::max(furthest, std::abs(bytes / window / nominal - 1));
            bytes -= double(sizes.front());
            sizes.pop_front();
        }
        EXPECT_LT(furthest, 0.02);
    }
}

TEST(ProResRate, aCutToTheHardestPictureStaysWithinTheLimit)
{
    constexpr ProResTestKind films[] = {ProResTestKind::Black, ProResTestKind::Extremes,
                                        ProResTestKind::Flat,  ProResTestKind::Noise,
                                        ProResTestKind::Edges, ProResTestKind::Extremes};
    for (const int type : {203, 205, 206})
        for (const QSize &size : {QSize(720, 576), QSize(96, 40), QSize(16, 16)}) {
            const ProResFormat format = proResTestFormat(type, size, ProResFormat::Progressive);
            ProResFrameCoder coder(format);
            // Smaller pictures are hardly more than headers.
            if (size.height() > 500) {
                EXPECT_LE(coder.limit(), ProRes::nominalSize(*format.kind, size) * 1.06);
            }
            ProResTestFrame frame(format);
            std::minstd_rand random(9);
            for (const ProResTestKind film : films) {
                paint(frame, film, random);
                const QmxBuffer coded = coder.encode(frame.planes());
                EXPECT_LE(coded.size(), coder.limit()) << format.kind->fourcc << " film " << int(film);
                ProResTestFrame decoded(format);
                EXPECT_EQ(decode(coded, decoded), "");
            }
        }
}

TEST(ProResRate, theBytesDoNotDependOnThreadsNorDoesAFrameAllocate)
{
    const ProResFormat format = proResTestFormat(206, QSize(720, 486), ProResFormat::BottomFieldFirst, true);
    TestHelpers helpers;
    ProResFrameCoder alone(format), together(format);
    together.setHelpers(&helpers);
    ProResTestFrame frame(format);
    for (int i = 0; i < 4; ++i) {
        paintScene(frame, i, i);
        const qint64 before = allocations;
        const QmxBuffer coded = alone.encode(frame.planes());
        const qint64 during = allocations - before;
        if (i > 0) { // the first one gets its memory
            EXPECT_EQ(during, 0);
        }
        const QmxBuffer same = together.encode(frame.planes());
        ASSERT_EQ(coded.size(), same.size());
        EXPECT_TRUE(std::equal(coded.constData(), coded.constData() + coded.size(), same.constData()));
    }
}

TEST(ProResRate, aDamagedFrameAllocatesNothingEither)
{
    using ProResInverse::Scale;
    const ProResFormat format = proResTestFormat(203, QSize(720, 576), ProResFormat::TopFieldFirst);
    ProResFrameCoder coder(format);
    coder.setFixedQuantiser(4); // another one would be prepared, as for a frame that is whole
    ProResTestFrame frame(format), decoded(format);
    paintScene(frame, 0, 0);
    const QmxBuffer coded = coder.encode(frame.planes());
    std::vector<uchar> bytes(coded.constData(), coded.constData() + coded.size());
    ProResFrameDecoder decoder;
    ProResTarget target;
    for (size_t plane = 0; plane < 3; ++plane) {
        target.plane[plane] = decoded.samples[plane].data();
        target.stride[plane] = decoded.width(int(plane));
    }
    ASSERT_FALSE(decoder.read(bytes.data(), coded.size()).isError());
    const auto slices = decoder.frame().slices;
    std::minstd_rand random(7);
    int damaged = 0;
    for (const Scale scale : {Scale::Full, Scale::Half, Scale::Quarter, Scale::Eighth})
        for (int i = 0; i < 20; ++i) {
            constexpr int quantiser = 1;
            for (const ProResCodedSlice &slice : slices)
                if (const int at = int(random() % unsigned(slice.size)); at != quantiser)
                    bytes[size_t(slice.bytes - bytes.data() + at)] = uchar(random());
            const qint64 before = allocations;
            ASSERT_FALSE(decoder.read(bytes.data(), qsizetype(bytes.size())).isError());
            damaged += decoder.decode(target, scale);
            if (i > 0) { // the first one gets its memory
                ASSERT_EQ(allocations, before);
            }
        }
    EXPECT_GT(damaged, 1000);
}
