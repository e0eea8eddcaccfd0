// SPDX-License-Identifier: GPL-3.0-or-later
#include "xpd/app/conversions.h"

#include "platform/store/paramdescriptor.h"
#include "tests/support/logcollector.h"
#include "tests/support/print.h"
#include "xpd/app/formattables.h"

#include <gtest/gtest.h>

#include <QRegularExpression>

#include <map>

namespace {

constexpr int beyond = 40; // values up to here are tried; the largest in a table is 14

/// Walks every value up to beyond: those of `expected` give their identifier, all others the default one
/// and, when there is a `message`, one line with the value each.
template <class Function>
void walk(Function function, const std::map<int, int> &expected, const QString &message)
{
    LogCollector::clear();
    QStringList lines;
    for (int value = 0; value <= beyond; ++value) {
        const auto row = expected.find(value);
        const QmxId wanted = row == expected.end() ? QmxId() : QmxId(row->second);
        EXPECT_EQ(function(static_cast<unsigned>(value)), wanted) << value;
        if (row == expected.end() && !message.isEmpty()) lines << message.arg(value);
    }
    EXPECT_EQ(LogCollector::texts("mainobject"), lines);
}

/// What a format's name in the store says: "2048x1080psf23.98", "720p50", "1080i25_rgb".
QmxImageDesc described(const std::string &label)
{
    static const QRegularExpression form("^(?:(\\d+)x)?(\\d+)(p|i|psf)([\\d.]+)(_rgb)?$");
    const QRegularExpressionMatch match = form.match(QString::fromStdString(label));
    if (!match.hasMatch()) return {};
    const int height = match.captured(2).toInt();
    const int widthOf = height == 720 ? 1280 : height < 720 ? 720 : 1920;
    const double rate = match.captured(4).toDouble();
    const bool isWhole = rate == int(rate);
    QmxImageDesc desc;
    desc.setSize(match.captured(1).isEmpty() ? widthOf : match.captured(1).toInt(), height);
    desc.setScanMode(int(QStringList{"p", "i", "psf"}.indexOf(match.captured(3))));
    desc.setFrameRate(isWhole ? QmxVideoRate(int(rate)) : QmxVideoRate(qRound(rate) * 1000, 1001));
    desc.setDataType(QmxId(match.captured(5).isEmpty() ? 231 : 250));
    return desc;
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

/// The store's codes and labels stand in docs/parameters.md; here the two tables are walked against each
/// other.
TEST(Conversions, everyFormatHasTheThreeCodesOfItsNameInTheStore)
{
    CreateDescriptors();
    const struct
    {
        eParam_t param;
        int (*code)(const QmxImageDesc &);
    } columns[] = {{eParam_InputFormat, imageDescToInputFormat},
                   {eParam_MediaFormat, imageDescToMediaFormat},
                   {eParam_RecordFormat, imageDescToRecordFormat}};
    for (const auto &column : columns) {
        int formats = 0;
        for (const auto &[code, label] : GetDescriptor(column.param)->values()) {
            const QmxImageDesc desc = described(label);
            if (!desc.isValid()) continue; // unknown, or of a variable rate
            EXPECT_EQ(column.code(desc), int(code)) << label;
            ++formats;
        }
        EXPECT_EQ(formats, 69);
    }
    EXPECT_TRUE(LogCollector::texts("mainobject").isEmpty());

    const QmxImageDesc none[] = {QmxImageDesc(), described("1080i50"), described("720p25"),
                                 described("1920x1088p25"), described("576p25")};
    for (const QmxImageDesc &desc : none) {
        expectLog("mainobject", QStringLiteral("Failed to find image format for: %1").arg(desc.toString()));
        EXPECT_EQ(imageDescToInputFormat(desc), 1);
        EXPECT_EQ(imageDescToMediaFormat(desc), 1);
        EXPECT_EQ(imageDescToRecordFormat(desc), 1);
    }
    EXPECT_EQ(LogCollector::texts("mainobject").size(), 15);
}

TEST(Conversions, everyGeneratorCodeIsThePictureOfItsName)
{
    CreateDescriptors();
    const ParamDescriptor *param = GetDescriptor(eParam_SignalGeneratorFormat);
    for (int code = -1; code <= 80; ++code) {
        QmxImageDesc expected = described(param->label(unsigned(code)));
        if (expected.isValid()) expected.setAspectRatio(expected.width(), expected.height());
        EXPECT_EQ(sigGenFormatToImgDesc(code), expected) << code;
    }
    EXPECT_TRUE(LogCollector::texts("mainobject").isEmpty()) << "an unknown code is no fault";
}

TEST(Conversions, variableRatesHaveCodesOfTheirOwn)
{
    constexpr int kept = 99;
    // By rate code 1 to 5; 0: no code, which is logged.
    const int record720[] = {31, 31, 33, 32, 32}, record1080[] = {34, 34, 0, 0, 0};
    const int media720[] = {30, 36, 32, 31, 31}, media1080[] = {33, 0, 0, 0, 0};
    QStringList lines;
    for (int code = 1; code <= 5; ++code) {
        const auto expect = [&](int given, int wanted) {
            EXPECT_EQ(given, wanted ? wanted : kept) << code;
            if (!wanted) lines << QStringLiteral("Unhandled value %1").arg(code);
        };
        allowLog("mainobject", QStringLiteral("Unhandled value"));
        expect(variableRateRecordFormat(1280, code, kept), record720[code - 1]);
        expect(variableRateRecordFormat(1920, code, kept), record1080[code - 1]);
        expect(variableRateMediaFormat(1280, code, kept), media720[code - 1]);
        expect(variableRateMediaFormat(1920, code, kept), media1080[code - 1]);
        EXPECT_EQ(variableRateRecordFormat(3840, code, kept), kept);
        EXPECT_EQ(variableRateMediaFormat(0, code, kept), kept);
    }
    EXPECT_EQ(LogCollector::texts("mainobject"), lines);
}
