// SPDX-License-Identifier: GPL-3.0-or-later
#include "xpd/app/conversions.h"

#include "tests/support/logcollector.h"
#include "tests/support/print.h"
#include "xpd/app/formattables.h"

#include <gtest/gtest.h>

#include <map>
#include <vector>

namespace {

constexpr int kBeyond = 40; // values up to here are tried; the largest in a table is 14

/// Walks every value up to kBeyond: those of `expected` give their identifier, all others the default one
/// and, when there is a `message`, one line with the value each.
template <class Function>
void walk(Function function, const std::map<int, int> &expected, const QString &message)
{
    LogCollector::clear();
    QStringList lines;
    for (int value = 0; value <= kBeyond; ++value) {
        const auto row = expected.find(value);
        const QmxId wanted = row == expected.end() ? QmxId() : QmxId(row->second);
        EXPECT_EQ(function(static_cast<unsigned>(value)), wanted) << value;
        if (row == expected.end() && !message.isEmpty()) lines << message.arg(value);
    }
    EXPECT_EQ(LogCollector::texts("mainobject"), lines);
}

/// The formats of one size, by the rules of their codes: runs of interlaced, segmented and progressive rates
/// in a fixed order.
struct FormatRun
{
    int width, height, scanMode;
    std::vector<QmxVideoRate> rates;
    int input, media, record; ///< code of the first rate, the others follow
};

const QmxVideoRate r60(60), r5994(60000, 1001), r50(50), r30(30), r2997(30000, 1001), r25(25), r24(24),
    r2398(24000, 1001);
const std::vector<QmxVideoRate> kInterlaced{r30, r2997, r25};
const std::vector<QmxVideoRate> kSegmented{r30, r2997, r25, r24, r2398};
const std::vector<QmxVideoRate> kProgressive{r60, r5994, r50, r30, r2997, r25, r24, r2398};

const std::vector<FormatRun> kRuns = {
    {1920, 1080, 1, kInterlaced, 2, 2, 3},
    {1920, 1080, 2, kSegmented, 5, 11, 12},
    {1280, 720, 0, {r60, r5994, r50}, 10, 16, 17},
    {720, 486, 1, {r2997}, 13, 20, 21},
    {720, 576, 1, {r25}, 14, 21, 22},
    {1920, 1080, 0, kProgressive, 15, 22, 23},
    {2048, 1080, 1, kInterlaced, 23, 37, 36},
    {2048, 1080, 2, kSegmented, 26, 40, 39},
    {2048, 1080, 0, kProgressive, 31, 45, 44},
    {3840, 2160, 1, kInterlaced, 39, 53, 52},
    {3840, 2160, 2, kSegmented, 42, 56, 55},
    {3840, 2160, 0, kProgressive, 47, 61, 60},
    {4096, 2160, 1, kInterlaced, 55, 69, 68},
    {4096, 2160, 2, kSegmented, 58, 72, 71},
    {4096, 2160, 0, kProgressive, 63, 77, 76},
};

QmxImageDesc describe(int width, int height, int scanMode, const QmxVideoRate &rate)
{
    QmxImageDesc desc;
    desc.setSize(width, height);
    desc.setScanMode(scanMode);
    desc.setFrameRate(rate);
    return desc;
}

struct Picture
{
    int width, height, scanMode;
    QmxVideoRate rate;
    int dataType;
};

/// The generator's formats by their rules: the singles of the small sizes, then runs of the large ones.
std::map<int, Picture> generatorFormats()
{
    std::map<int, Picture> formats = {
        {2, {1280, 720, 0, r50, 231}},     {3, {1280, 720, 0, r5994, 231}},
        {7, {1280, 720, 0, r60, 231}},     {4, {1920, 1080, 0, r2398, 231}},
        {11, {1920, 1080, 0, r24, 231}},   {12, {1920, 1080, 0, r25, 231}},
        {13, {1920, 1080, 0, r2997, 231}}, {23, {1920, 1080, 0, r50, 231}},
        {24, {1920, 1080, 0, r5994, 231}}, {5, {1920, 1080, 1, r25, 231}},
        {6, {1920, 1080, 1, r2997, 231}},  {10, {1920, 1080, 1, r30, 231}},
        {8, {1920, 1080, 2, r2398, 231}},  {9, {1920, 1080, 2, r24, 231}},
        {22, {1920, 1080, 2, r2997, 231}},
    };
    const std::vector<QmxVideoRate> rates{r2398, r24, r25, r2997};
    int code = 14;
    for (const int scanMode : {0, 2}) {
        for (const QmxVideoRate &rate : rates)
            formats[code++] = {1920, 1080, scanMode, rate, 250};
    }
    code = 25;
    for (const auto &[width, height] :
         {std::pair{2048, 1080}, std::pair{3840, 2160}, std::pair{4096, 2160}}) {
        for (const int scanMode : {0, 2}) {
            for (const QmxVideoRate &rate : rates) {
                for (const int dataType : {231, 250})
                    formats[code++] = {width, height, scanMode, rate, dataType};
            }
        }
    }
    return formats;
}

} // namespace

TEST(Conversions, everyValueGivesItsIdentifierAndUnknownOnesAreLogged)
{
    allowLog("mainobject");
    walk(encodeTypeToID, {{0, 202}, {1, 203}, {2, 204}, {3, 205}, {7, 206}, {8, 230}, {9, 231}},
         QStringLiteral("Unsupported encode type: %1"));
    const std::map<int, int> videoInputs = {{0, 601},  {6, 602},  {7, 604},  {8, 603},  {9, 631},
                                            {10, 633}, {11, 632}, {12, 661}, {13, 663}, {14, 662}};
    walk(videoInputToID, videoInputs, QStringLiteral("Unsupported video input: %1"));
    walk(videoOutputToID, {{0, 663}, {1, 662}, {2, 633}, {3, 632}, {4, 604}, {5, 603}},
         QStringLiteral("Unsupported video output: %1"));
    walk(audioInputToID, {{0, 52}, {2, 690}}, QStringLiteral("Unsupported audio input: %1"));
    walk(syncSourceToID, {{0, 501}, {2, 502}, {3, 503}}, QStringLiteral("Unsupported sync source: %1"));
    walk(hdmiOutToID, {{0, 55}, {1, 56}}, QStringLiteral("Unsupported hdmi out: %1"));

    const QString unsupported = QStringLiteral("Unsupported value: %1");
    walk(audioLevelToID, {{0, 1400}, {1, 1401}, {2, 1402}, {3, 1403}}, unsupported);
    walk(timecodeSourceToID, {{0, 1500}, {1, 1520}, {3, 1510}, {5, 1501}}, unsupported);
    walk(outputRouteToID, {{0, 51}, {1, 53}}, unsupported);
    walk(superOutToID, {{0, 0}, {1, 1300}, {5, 1301}, {6, 1302}}, unsupported);

    std::map<int, int> cameras;
    for (int i = 1; i <= 9; ++i)
        cameras[i] = 999 + i;
    walk(cameraInputToID, cameras, QString());
    walk(videoSignalGenToID, {{1, 800}, {2, 801}, {3, 802}}, QString());
    walk(audioSignalGenToID, {{1, 900}, {2, 901}}, QString());
    walk(inputConversionToID, {{4, 1200}, {6, 1201}}, QString());
    walk(outputConversionToID, {{4, 1200}, {6, 1202}}, QString());
    const auto decodeType = [](unsigned type) {
        return QmxId(imageDataTypeToDecodeType(QmxId(int(type) + 200)));
    };
    walk(decodeType, {{3, 1}, {4, 4}, {5, 5}, {6, 6}}, QString());
}

TEST(Conversions, everyFormatHasItsThreeCodesAndNoOtherHasOne)
{
    int rows = 0;
    for (const FormatRun &run : kRuns) {
        for (size_t i = 0; i < run.rates.size(); ++i, ++rows) {
            const QmxImageDesc desc = describe(run.width, run.height, run.scanMode, run.rates[i]);
            const int offset = static_cast<int>(i);
            EXPECT_EQ(imageDescToInputFormat(desc), run.input + offset) << desc.toString().toStdString();
            EXPECT_EQ(imageDescToMediaFormat(desc), run.media + offset) << desc.toString().toStdString();
            EXPECT_EQ(imageDescToRecordFormat(desc), run.record + offset) << desc.toString().toStdString();
        }
    }
    EXPECT_EQ(rows, 69);
    EXPECT_TRUE(LogCollector::texts("mainobject").isEmpty());

    const QmxImageDesc none[] = {QmxImageDesc(), describe(1920, 1080, 1, r50), describe(1280, 720, 0, r25),
                                 describe(1920, 1088, 0, r25), describe(720, 576, 0, r25)};
    for (const QmxImageDesc &desc : none) {
        expectLog("mainobject", QStringLiteral("Failed to find image format for: %1").arg(desc.toString()));
        EXPECT_EQ(imageDescToInputFormat(desc), 1);
        EXPECT_EQ(imageDescToMediaFormat(desc), 1);
        EXPECT_EQ(imageDescToRecordFormat(desc), 1);
    }
    EXPECT_EQ(LogCollector::texts("mainobject").size(), 15);
}

TEST(Conversions, everyGeneratorCodeIsAPicture)
{
    const std::map<int, Picture> formats = generatorFormats();
    ASSERT_EQ(formats.size(), 71u);
    for (int code = -1; code <= 80; ++code) {
        const QmxImageDesc desc = sigGenFormatToImgDesc(code);
        const auto row = formats.find(code);
        if (row == formats.end()) {
            EXPECT_EQ(desc, QmxImageDesc()) << code;
            continue;
        }
        const Picture &p = row->second;
        QmxImageDesc expected = describe(p.width, p.height, p.scanMode, p.rate);
        expected.setAspectRatio(p.width, p.height);
        expected.setDataType(QmxId(p.dataType));
        EXPECT_EQ(desc, expected) << code;
    }
    EXPECT_TRUE(LogCollector::texts("mainobject").isEmpty()) << "an unknown code is no fault";
}

TEST(Conversions, variableRatesHaveCodesOfTheirOwn)
{
    constexpr int kKept = 99;
    // By rate code 1 to 5; 0: no code, which is logged.
    const int record720[] = {31, 31, 33, 32, 32}, record1080[] = {34, 34, 0, 0, 0};
    const int media720[] = {30, 36, 32, 31, 31}, media1080[] = {33, 0, 0, 0, 0};
    QStringList lines;
    for (int code = 1; code <= 5; ++code) {
        const auto expect = [&](int given, int wanted) {
            EXPECT_EQ(given, wanted ? wanted : kKept) << code;
            if (!wanted) lines << QStringLiteral("Unhandled value %1").arg(code);
        };
        allowLog("mainobject", QStringLiteral("Unhandled value"));
        expect(variableRateRecordFormat(1280, code, kKept), record720[code - 1]);
        expect(variableRateRecordFormat(1920, code, kKept), record1080[code - 1]);
        expect(variableRateMediaFormat(1280, code, kKept), media720[code - 1]);
        expect(variableRateMediaFormat(1920, code, kKept), media1080[code - 1]);
        EXPECT_EQ(variableRateRecordFormat(3840, code, kKept), kKept);
        EXPECT_EQ(variableRateMediaFormat(0, code, kKept), kKept);
    }
    EXPECT_EQ(LogCollector::texts("mainobject"), lines);
}
