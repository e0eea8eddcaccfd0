// SPDX-License-Identifier: GPL-3.0-or-later
// What the daemon reads at its start, and what a change of each parameter does.
#include "tests/scenarios/recorderrig.h"

#include "platform/store/datafile.pb.h"

namespace {

using ParameterScenario = RecorderRig;

/// Settings as an operator makes them, and what they change in the transport.
struct SettingRow
{
    quint32 param;
    unsigned value;
    std::function<bool(const VtrState &)> arrived;
};

template <class Getter>
std::function<bool(const VtrState &)> isId(Getter getter, int id)
{
    return [=](const VtrState &s) { return (s.*getter)() == QmxId(id); };
}

template <class Getter>
std::function<bool(const VtrState &)> is(Getter getter, int value)
{
    return [=](const VtrState &s) { return static_cast<int>((s.*getter)()) == value; };
}

const SettingRow settings[] = {
    {0x0F02000A, 1, is(&VtrState::isLooping, 1)},
    {0x0F04000A, 1, is(&VtrState::stopOnFrameDrop, 1)},
    {0x2000000A, 1, is(&VtrState::stopOnLossOfVideo, 0)}, // says "continue"
    {0x2000000A, 0, is(&VtrState::stopOnLossOfVideo, 1)},
    {0x0E01000A, 7, isId(&VtrState::encodeFormat, 206)},
    {0x0D01000A, 9, isId(&VtrState::cameraInput, 1008)},
    {0x0D01000A, 0, isId(&VtrState::cameraInput, 0)},
    {0x2901000A, 2, [](const VtrState &s) { return s.videoSignalGenFormat().width() == 1280; }},
    {0x2902000A, 3, isId(&VtrState::videoSignalGenMode, 802)},
    {0x2903000A, 2, isId(&VtrState::audioSignalGenMode, 901)},
    {0x0201000A, 6, isId(&VtrState::videoInputSource, 602)},
    {0x0202000A, 2, isId(&VtrState::audioInputSource, 690)},
    {0x02030000, 1, is(&VtrState::audioChans, 8)},
    {0x04010000, 3, isId(&VtrState::audioInputLevel, 1403)},
    {0x020C000A, 1, is(&VtrState::videoInputIgnoreANC, 1)},
    {0x0601000A, 3, isId(&VtrState::syncSource, 503)},
    {0x0900000A, 1, is(&VtrState::intervalRecordEnable, 1)},
    {0x0901000A, 10, is(&VtrState::recordInterval, 10)},
    {0x0902000A, 2, is(&VtrState::recordIntervalTime, 2)},
    {0x0101000A, 1, is(&VtrState::forcePSFEncode, 1)},
    {0x0101000A, 2, [](const VtrState &s) { return s.vfrEnable() && !s.forcePSFEncode(); }},
    {0x0103000A, 0, is(&VtrState::forcePSFOutput, 1)}, // 0 switches it on
    {0x0104000A, 6, isId(&VtrState::videoInConvert, 1201)},
    {0x0105000A, 6, isId(&VtrState::videoOutConvert, 1202)},
    {0x0106000A, 3, isId(&VtrState::videoOutputType, 632)},
    {0x0108000A, 1, isId(&VtrState::videoOutputRoute, 53)},
    {0x0109000A, 6, isId(&VtrState::superOut, 1302)},
    {0x0109000A, 0, isId(&VtrState::superOut, 0)},
    {0x0140000A, 1, is(&VtrState::videoOutputSDILevelA, 1)},
    {0x0142000A, 1, isId(&VtrState::hdmiOutputMode, 56)},
};

QByteArray lutText(int entries)
{
    QByteArray text;
    for (int i = 0; i < entries; ++i)
        text += QByteArray::number(i) + ' ' + QByteArray::number(1023 - i % 1024) + " 512\n";
    return text;
}

} // namespace

TEST_F(ParameterScenario, startsInAFixedOrder)
{
    begin();
    // Told as they were loaded; what no store has written reads as its default.
    std::vector<quint32> loaded;
    for (const QString &line : LogCollector::texts("mainobject")) {
        if (line.startsWith(QStringLiteral("Param Changed: [")))
            loaded.push_back(line.section('[', 1).section(']', 0, 0).toUInt(nullptr, 16));
        if (line.startsWith(QStringLiteral("Parse Command Line"))) break;
    }
    const std::vector<quint32> expected = {
        0x7B03050A, 0x7B01010A, 0x7B010A0A, 0x0C020000, 0x0F02000A, 0x0E01000A, 0x0201000A, 0x0202000A,
        0x02030000, 0x0601000A, 0x0802000A, 0x2901000A, 0x2902000A, 0x2903000A, 0x0D01000A, 0x0D03000A,
        0x0D04000A, 0x0F01000A, 0x0104000A, 0x0105000A, 0x0101000A, 0x0103000A, 0x0106000A, 0x0108000A,
        0x0109000A, 0x0900000A, 0x0901000A, 0x0902000A, 0x04010000, 0x0800020A, 0x0F04000A, 0x7B03060A,
        0x7B03080A, 0x0803000A, 0x0140000A, 0x020C000A, 0x0142000A, 0x0D02000A, 0x2000000A, 0x0F01000A};
    EXPECT_EQ(loaded, expected);
    EXPECT_TRUE(reads(eParam_TransportRunning, 1));
    EXPECT_TRUE(reads(eParam_TransportStatus, 1));
    // The input that was found: 576i25, in the codes of its three columns.
    EXPECT_TRUE(reads(eParam_InputFormat, 14));
    EXPECT_TRUE(reads(eParam_RecordFormat, 22));
    EXPECT_TRUE(reads(eParam_MediaFormat, 21));
    EXPECT_EQ(number(eParam_MediaCodec), 0u);

    quit();
    EXPECT_TRUE(reads(eParam_TransportRunning, 0));
    EXPECT_TRUE(reads(eParam_TransportStatus, 20));
}

TEST_F(ParameterScenario, everySettingReachesTheTransport)
{
    allowLog(QString(), QString()); // settings that do not go together complain; that is not the point here
    begin();
    for (const SettingRow &row : settings) {
        ASSERT_TRUE(store->setUInt(static_cast<eParam_t>(row.param), row.value)) << store->lastError();
        EXPECT_TRUE(Stepper::waitFor([&] { return row.arrived(vtr().state()); }))
            << std::hex << row.param << ' ' << row.value;
    }
}

TEST_F(ParameterScenario, settingsWithoutAPlaceInTheStateReachTheTransportToo)
{
    allowLog("vtrobject");
    begin();
    const struct
    {
        eParam_t param;
        const char *value, *source;
        QString line;
    } rows[] = {
        {eParam_ReelNumber, "5", "vtrobject", "Reel Name: 005"},
        {eParam_ReelNumber, "ABCDE", "vtrobject", "Reel Name: ABCDE"},
        {eParam_TimecodePresetHour, "10", "vtrobject", "Set TC value: 10:00:00:00"},
        {eParam_TimecodeDropFrame, "1", "vtrobject", "Set TC Drop Frame: Enabled"},
        {eParam_TimecodeSource, "5", "vtrobject", "Set TCG Source: " + QmxId(1501).name()},
        {eParam_RecordOnRunningTimecode, "0", "vtrobject", "Record on Running Timecode: Enabled"},
        {eParam_RolloverEnabled, "1", "mediamanager", "Rollover Enabled"},
    };
    for (const auto &row : rows) {
        write(row.param, row.value);
        EXPECT_TRUE(logs(row.source, row.line)) << row.line.toStdString();
    }
}

TEST_F(ParameterScenario, aLutIsLoadedWhereItIsWantedAndOnlyWhenItIsWhole)
{
    allowLog("alarmhandler");
    begin();
    const auto lutIs = [this](const QString &file, bool input) {
        const VtrState s = vtr().state();
        const QmxImageLut lut = input ? s.inputLut() : s.outputLut();
        const QmxImageLut other = input ? s.outputLut() : s.inputLut();
        return lut.filename() == file && !other.isValid();
    };
    const auto choose = [this](const QString &path) {
        kel::config::DataFile file;
        file.set_path(path.toStdString());
        EXPECT_TRUE(store->setData(eParam_LutFile, file.SerializeAsString()));
    };
    const QString whole = dir.file("whole.txt"), shortOne = dir.file("short.txt"),
                  broken = dir.file("broken.txt");
    writeAll(whole, lutText(1024));
    writeAll(shortOne, lutText(1000));
    writeAll(broken, "not a table\n");

    choose(whole);
    ASSERT_TRUE(store->setUInt(eParam_LutPosition, 1));
    ASSERT_TRUE(Stepper::waitFor([&] { return lutIs(whole, true); }));
    const QmxImageLut lut = vtr().state().inputLut();
    EXPECT_EQ(lut.id(), QmxId(1100));
    EXPECT_EQ(lut.lutData()[1000], 1000);
    EXPECT_EQ(lut.lutData()[1024 + 1000], 23);
    EXPECT_EQ(lut.lutData()[2048 + 1000], 512);
    ASSERT_TRUE(store->setUInt(eParam_LutPosition, 2));
    EXPECT_TRUE(Stepper::waitFor([&] { return lutIs(whole, false); }));

    expectLog(
        "mainobject",
        QStringLiteral("Parse of LUT '%1' returned unexpected number of entries.  Expected 1024, Got 1000")
            .arg(shortOne));
    choose(shortOne);
    EXPECT_TRUE(Stepper::waitFor([&] { return lutIs(QString(), false); }));
    EXPECT_TRUE(shows(eParam_AlarmLutError, "number of entries. Expected 1024, found 1000"));
    choose(whole);
    EXPECT_TRUE(Stepper::waitFor([&] { return lutIs(whole, false); }));
    EXPECT_TRUE(isClear(eParam_AlarmLutError));

    expectLog("mainobject", QStringLiteral("Parse of LUT '%1' failed: ").arg(broken));
    choose(broken);
    EXPECT_TRUE(shows(eParam_AlarmLutError, "LUT parse error"));
    // A file that is not there disables without a word of alarm.
    choose(dir.file("absent.txt"));
    EXPECT_TRUE(Stepper::waitFor(
        [&] { return logged("mainobject").filter("LUT Enabled").last() == "LUT Enabled 0, LUT path ''"; }));
    EXPECT_TRUE(shows(eParam_AlarmLutError, "LUT parse error"));
    ASSERT_TRUE(store->setUInt(eParam_LutPosition, 0));
    EXPECT_TRUE(isClear(eParam_AlarmLutError));

    qputenv("XPD_FORCE_LUT_INVERT", "");
    choose(broken);
    ASSERT_TRUE(store->setUInt(eParam_LutPosition, 2));
    ASSERT_TRUE(Stepper::waitFor([&] { return lutIs(broken, false); }));
    const QmxImageLut inverted = vtr().state().outputLut();
    for (const int at : {0, 1023, 1024, 2047, 2048, 3071})
        EXPECT_EQ(inverted.lutData()[at], 1023 - at % 1024);
}
