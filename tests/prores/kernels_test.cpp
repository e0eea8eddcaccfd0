// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/codec/prores/prorestargets.h"
#include "tests/prores/proresrig.h"

#include <gtest/gtest.h>

#include <QCryptographicHash>

#include <cmath>
#include <hwy/targets.h>

namespace {
using namespace ProResKernels;

/// Calls `test` with every instruction set that this machine has, one after the other; the scalar one last.
template <class Test>
int withEveryTarget(const Test &test)
{
    const std::vector<int64_t> targets = hwy::SupportedAndGeneratedTargets();
    for (const int64_t target : targets) {
        SCOPED_TRACE(hwy::TargetName(target));
        hwy::SetSupportedTargetsForTest(target);
        test();
    }
    hwy::SetSupportedTargetsForTest(0);
    return int(targets.size());
}

/// What the coder makes of the pictures of the test below, as a SHA-1: changes with the coder alone.
constexpr char bytesOfAllPictures[] = "3d9dbbbee93fb45d70c93880774506764a9e4d92";
} // namespace

TEST(ProResKernels, everyTargetGivesTheSameBytes)
{
    std::minstd_rand random(5);
    QCryptographicHash all(QCryptographicHash::Sha1);
    for (int kind = 0; kind < proResTestKinds; ++kind)
        for (const int type : {203, 205, 206}) {
            const ProResFormat format =
                proResTestFormat(type, QSize(362, 130), ProResFormat::Scan(kind % 3), type == 206);
            ProResTestFrame frame(format);
            paint(frame, ProResTestKind(kind), random);
            QmxBuffer first;
            const int targets = withEveryTarget([&] {
                ProResFrameCoder coder(format);
                const QmxBuffer coded = coder.encode(frame.planes());
                if (!first.isValid()) first = coded;
                ASSERT_EQ(coded.size(), first.size());
                ASSERT_TRUE(
                    std::equal(coded.constData(), coded.constData() + coded.size(), first.constData()));
            });
            EXPECT_GE(targets, 2);
            all.addData(QByteArrayView(first.constData(), first.size()));
        }
    // And on every machine, those of other processor families included.
    EXPECT_EQ(all.result().toHex().toStdString(), bytesOfAllPictures);
}

TEST(ProResKernels, divisionIsExactForEveryQuantiserAndCoefficient)
{
    withEveryTarget([] {
        alignas(64) std::array<qint16, ProRes::groupSamples> coefficients;
        const auto levels = std::make_unique<Levels>();
        for (int index = 1; index <= ProRes::coarsestQuantiser; ++index) {
            const Quantiser q(ProRes::scaleOfQuantiser(index));
            ASSERT_LT(q.offset, q.step / 2);
            ASSERT_GE(q.least + q.offset, q.step);
            for (int from = 0; from < 32768; from += ProRes::groupSamples) {
                for (int i = 0; i < ProRes::groupSamples; ++i)
                    coefficients[size_t(i)] = qint16(-(from + i) - 1); // -32768 is the greatest of all
                quantise(coefficients.data(), q, *levels);
                int wrong = 0;
                for (int i = 0; i < ProRes::groupSamples; ++i) {
                    const int size = from + i + 1;
                    const bool dc = i < ProRes::lanes;
                    const int level = dc               ? (size + q.dcOffset) / q.step
                                      : size < q.least ? 0
                                                       : (size + q.offset) / q.step;
                    if (levels->size[size_t(i)] != level) wrong = size;
                }
                ASSERT_EQ(wrong, 0) << "quantiser " << index;
            }
        }
    });
}

TEST(ProResKernels, transformIsTheCosineTransform)
{
    std::minstd_rand random(3);
    const Weights flat = weights(*ProRes::kind(QmxId(203)).matrix, false);
    for (int kind = 0; kind < proResTestKinds; ++kind) {
        const ProResFormat format = proResTestFormat(206, QSize(256, 8), ProResFormat::Progressive);
        ProResTestFrame frame(format);
        paint(frame, ProResTestKind(kind), random);
        Blocks blocks{};
        for (size_t i = 0; i < ProRes::lanes; ++i)
            blocks.first[i] = &frame.at(0, int(i) * 8, 0);
        blocks.stride = frame.width(0);
        alignas(64) std::array<qint16, ProRes::groupSamples> coefficients;
        transform(blocks, flat, coefficients.data());
        double squares = 0;
        for (int n = 0; n < ProRes::blockSamples; ++n) {
            const int u = flat.place[size_t(n)] % 8, v = flat.place[size_t(n)] / 8;
            double sum = 0;
            for (int y = 0; y < 8; ++y)
                for (int x = 0; x < 8; ++x)
                    sum += (frame.at(0, x, y) - 512) * std::cos((2 * x + 1) * u * M_PI / 16) *
                           std::cos((2 * y + 1) * v * M_PI / 16);
            const double norm = 0.25 * (u ? 1 : M_SQRT1_2) * (v ? 1 : M_SQRT1_2);
            const double weight = (*ProRes::kind(QmxId(203)).matrix)[flat.place[size_t(n)]];
            const double wanted = sum * norm * 4 * fraction / weight;
            const double error = coefficients[size_t(n * ProRes::lanes)] - wanted;
            EXPECT_LT(std::abs(error), fraction) << "picture " << kind << " coefficient " << n;
            squares += error * error;
        }
        // On average far less than the quantiser's own error, which is 0.29 of a step.
        EXPECT_LT(std::sqrt(squares / ProRes::blockSamples), 0.13 * fraction) << "picture " << kind;
    }
}
