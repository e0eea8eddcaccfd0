// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/device/qmxvideodevice.h"
#include "tests/transport/transportrig.h"

#include <algorithm>
#include <functional>

namespace {

using SettingsTest = TransportRig;

struct Row
{
    std::function<void(VtrObject &)> change;
    QString text;
    bool resets;
    bool isRefused = false;
};

Row idRow(void (VtrObject::*set)(const QmxId &), int id, const char *text)
{
    return {[=](VtrObject &vtr) { (vtr.*set)(QmxId(id)); }, QString::fromLatin1(text).arg(QmxId(id).name()),
            true};
}

Row flagRow(void (VtrObject::*set)(bool), bool value, const char *text, bool resets)
{
    return {[=](VtrObject &vtr) { (vtr.*set)(value); }, QString::fromLatin1(text), resets};
}

QList<Row> changes()
{
    QmxImageDesc format;
    format.setSize(1280, 720);
    format.setFrameRate(50);
    format.setDataType(QmxId(231));
    return {
        idRow(&VtrObject::setEncodeFormat, 205, "Set Encode Format: %1"),
        idRow(&VtrObject::setAudioInputSource, 690, "Set Audio Input Source: %1"),
        idRow(&VtrObject::setAudioInputLevel, 1401, "Set Audio Input Level: %1"),
        idRow(&VtrObject::setSyncSource, 503, "Set Sync Source: %1"),
        {[](VtrObject &vtr) { vtr.setAudioChans(8); }, "Set Audio Channels: 8", true},
        {[=](VtrObject &vtr) { vtr.setVideoSignalGenFormat(format); }, "Set VSG Format: " + format.toString(),
         true},
        idRow(&VtrObject::setVideoSignalGenMode, 801, "Set VSG Mode: %1"),
        idRow(&VtrObject::setVideoSignalGenMode, 0, "Set VSG Mode: %1"),
        idRow(&VtrObject::setAudioSignalGenMode, 900, "Set ASG Mode: %1"),
        idRow(&VtrObject::setCameraInput, 1002, "Set Camera Input: %1"),
        flagRow(&VtrObject::setForcePSFOutput, true, "Set Force PSF Output: Enabled", true),
        flagRow(&VtrObject::setForcePSFEncode, true, "Set Force PSF Encode: Enabled", true),
        idRow(&VtrObject::setVideoOutputType, 603, "Set Video Output Type: %1"),
        idRow(&VtrObject::setVideoOutputRoute, 53, "Set Video Output Route: %1"),
        idRow(&VtrObject::setSuperOut, 1300, "Set Super Out: %1"),
        {[](VtrObject &vtr) { vtr.setRecordInterval(12); }, "Set Record Interval: 12", false},
        {[](VtrObject &vtr) { vtr.setRecordIntervalTime(2); }, "Set Record Interval Time: 2", false},
        flagRow(&VtrObject::setIntervalRecordEnable, true, "Set Interval Record: Enabled", false),
        flagRow(&VtrObject::setVFREnable, true, "Set VFR: Enabled", true),
        flagRow(&VtrObject::setVFREnable, false, "Set VFR: Disabled", true),
        idRow(&VtrObject::setTCGSource, 1500, "Set TCG Source: %1"),
        flagRow(&VtrObject::setStopOnFrameDrop, true, "Set Stop On Frame Drop: Enabled", false),
        flagRow(&VtrObject::setStopOnLossOfVideo, false, "Set Stop On Loss Of Video: Disabled", false),
        {[](VtrObject &vtr) { vtr.setReelName("007"); }, "Reel Name: 007", false},
        flagRow(&VtrObject::setRecordOnRunningTimecode, true, "Record on Running Timecode: Enabled", false),
        flagRow(&VtrObject::setRecordOnRunningTimecode, false, "Record on Running Timecode: Disabled", false),
        flagRow(&VtrObject::setVideoOutputSDILevelA, true, "Set Video Output SDI Level: Level A", true),
        flagRow(&VtrObject::setVideoOutputSDILevelA, false, "Set Video Output SDI Level: Level B", true),
        flagRow(&VtrObject::setVideoInputIgnoreANC, true, "Set Video Input Ignore ANC: Enabled", true),
        idRow(&VtrObject::setHdmiOutputMode, 56, "Set HDMI Output Mode: %1"),
        idRow(&VtrObject::setVideoInputSource, 602, "Set Video Input Source: %1"),
        {[](VtrObject &vtr) { vtr.setEncodeFormat(QmxId()); }, "Encode format is invalid", false, true},
        {[](VtrObject &vtr) { vtr.setAudioChans(4); },
         "Failed to set audio channels to 4.  Unsupported number of channels\nSet Audio Channels: 4", true,
         true},
        // Last: from then on every picture is converted, which takes its time.
        idRow(&VtrObject::setVideoInConvert, 1201, "Set Video In Convert: %1"),
        idRow(&VtrObject::setVideoOutConvert, 1200, "Set Video Out Convert: %1"),
    };
}

} // namespace

TEST_F(SettingsTest, everyChange_isLoggedOnceAndResetsWhatTheHardwareMustKnow)
{
    expectLog("vtrobject", "Encode format is invalid");
    expectLog("vtrobject", "Failed to set audio channels to 4.  Unsupported number of channels");
    startUp();
    const QString reset = QStringLiteral("VIDEO DEVICE: Reset in mode StandbyOff");
    QList<Row> rows = changes();
    // Those that do not reset come first, and none of them may half a second after the last one.
    const auto resetting =
        std::stable_partition(rows.begin(), rows.end(), [](const Row &row) { return !row.resets; });
    for (auto row = rows.constBegin(); row != rows.constEnd(); ++row) {
        SCOPED_TRACE(row->text.toStdString());
        forgetLog();
        row->change(vtr());
        EXPECT_EQ(logged().join('\n'), row->text);
        if (!row->isRefused) row->change(vtr());
        EXPECT_EQ(logged().join('\n'), row->text) << "an equal value is no change";
        if (!row->resets && row + 1 != resetting) continue;
        const qsizetype inputs = events.filter("input ").size();
        Stepper::runMs(499);
        EXPECT_FALSE(logged().contains(reset)) << "half a second for further changes";
        Stepper::runMs(2);
        EXPECT_EQ(logged().contains(reset), row->resets);
        Stepper::runMs(100); // the device answers
        // An input that came or went leads to its own reset.
        if (events.filter("input ").size() != inputs) Stepper::runMs(600);
        ASSERT_TRUE(runUntilIdle());
    }
    EXPECT_EQ(vtr().state().encodeFormat(), QmxId(205));
    EXPECT_EQ(vtr().state().audioChans(), 8);
}

TEST_F(SettingsTest, burstOfChanges_makesOneResetAndNoneOutsideStandby)
{
    startUp();
    forgetLog();
    vtr().setForcePSFOutput(true);
    Stepper::runMs(400);
    vtr().setForcePSFEncode(true);
    Stepper::runMs(400);
    EXPECT_TRUE(logged().filter("VIDEO DEVICE: Reset").isEmpty());
    Stepper::runMs(101);
    EXPECT_EQ(logged().filter("VIDEO DEVICE: Reset").size(), 1);
    EXPECT_TRUE(runUntilIdle());

    // What comes to the same is not set up again, unless the input has come anew.
    int setups = 0;
    const auto counting =
        QObject::connect(&vtr(), &VtrObject::videoDeviceSetupChanged, [&setups] { ++setups; });
    vtr().setForcePSFOutput(false);
    vtr().setForcePSFOutput(true);
    Stepper::runMs(510);
    EXPECT_EQ(logged().last(), "VIDEO DEVICE: Setup is current, no need to change it");
    EXPECT_EQ(setups, 0);
    const QmxVideoState input = vtr().inputState();
    auto *device = vtr().findChild<QmxVideoDevice *>();
    emit device->inputChanged(0, QmxVideoState());
    emit device->inputChanged(0, input);
    Stepper::runMs(510);
    EXPECT_EQ(setups, 1);
    QObject::disconnect(counting);

    recordClip("clip.mov", 10);
    playClip("clip.mov", 0.0);
    Stepper::runMs(1000);
    forgetLog();
    vtr().setForcePSFOutput(false);
    Stepper::runMs(200);
    // A reset that is due while the device is busy comes as soon as it is not.
    allowLog("vtrobject", "but pending cue at");
    vtr().cue(3);
    QMetaObject::invokeMethod(&vtr(), "videoDeviceReset");
    EXPECT_TRUE(logged().last().startsWith("VIDEO DEVICE: Device is busy.  Defer reset in mode Play - VR "));
    EXPECT_TRUE(logged().filter("VIDEO DEVICE: Reset in mode").isEmpty());
    Stepper::runMs(60);
    EXPECT_TRUE(logged().contains("VIDEO DEVICE: Reset in mode Play"));
    EXPECT_FALSE(device->currentSetup().forcePSFOutput());
}

TEST_F(SettingsTest, timecodeSettings_jamEachTime)
{
    startUp();
    vtr().setTCGSource(QmxId(1500));
    Stepper::runMs(1000);
    forgetLog();
    vtr().setTimecodeValue(QmxTimecode(10, 0, 0, 0, 0, 0));
    EXPECT_EQ(logged(), QStringList{"Set TC value: 10:00:00:00"});
    EXPECT_EQ(vtr().currentInputTimecode().toString(), "10:00:00:00");
    Stepper::runTicks(10);
    const auto jammed = vtr().lastVBI().tcgTimecode();
    EXPECT_EQ(jammed.hours(), 10);
    EXPECT_GT(jammed.toFrameNumber(), QmxTimecode(10, 0, 0, 0, 25, 0).toFrameNumber());

    vtr().setTimecodeDropFrame(false);
    EXPECT_EQ(logged().last(), "Set TC Drop Frame: Disabled");
    Stepper::runTicks(2);
    EXPECT_LT(vtr().lastVBI().tcgTimecode().toFrameNumber(), jammed.toFrameNumber())
        << "an unchanged flag jams as well";

    vtr().setTCGSource(QmxId(1501));
    EXPECT_EQ(vtr().currentInputTimecode(), QmxTimecode::fromTimeOfDay(25, false));
    Stepper::runMs(1000);
    EXPECT_NEAR(vtr().lastVBI().tcgTimecode().toFrameNumber(),
                QmxTimecode::fromTimeOfDay(25, false).toFrameNumber(), 3)
        << "the set-up for the new source jams, too";
}
