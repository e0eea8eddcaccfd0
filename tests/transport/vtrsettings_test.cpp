// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/device/qmxvideodevice.h"
#include "tests/transport/transportrig.h"

#include <functional>

namespace {

using SettingsTest = TransportRig;

struct Row
{
    enum Effect { None = 0, Told = 1, Resets = 2, SetsUp = 4, All = 7 };
    std::function<void(VtrObject &)> change;
    QString text;
    int effects = All; ///< a state that is told; a reset of the card; another set-up of it
    bool isRefused = false;
};

Row idRow(void (VtrObject::*set)(const QmxId &), int id, const char *text, int effects = Row::All)
{
    return {[=](VtrObject &vtr) { (vtr.*set)(QmxId(id)); }, QString::fromLatin1(text).arg(QmxId(id).name()),
            effects};
}

Row flagRow(void (VtrObject::*set)(bool), bool value, const char *text, int effects = Row::All)
{
    return {[=](VtrObject &vtr) { (vtr.*set)(value); }, QString::fromLatin1(text), effects};
}

QList<Row> changes()
{
    QmxImageDesc format;
    format.setSize(1280, 720);
    format.setFrameRate(50);
    format.setDataType(QmxId(231));
    const QmxImageLut lut(QmxId(1100), 4);
    return {
        {[](VtrObject &vtr) { vtr.setLooping(true); }, QString(), Row::Told},
        {[=](VtrObject &vtr) { vtr.setLuts(lut, QmxImageLut()); }, QString()},
        {[=](VtrObject &vtr) { vtr.setLuts(lut, QmxImageLut(QmxId(1100), 8)); }, QString()},
        idRow(&VtrObject::setEncodeFormat, 205, "Set Encode Format: %1"),
        idRow(&VtrObject::setAudioInputSource, 690, "Set Audio Input Source: %1"),
        idRow(&VtrObject::setAudioInputLevel, 1401, "Set Audio Input Level: %1"),
        idRow(&VtrObject::setSyncSource, 503, "Set Sync Source: %1"),
        {[](VtrObject &vtr) { vtr.setAudioChans(8); }, "Set Audio Channels: 8"},
        {[=](VtrObject &vtr) { vtr.setVideoSignalGenFormat(format); },
         "Set VSG Format: " + format.toString()},
        idRow(&VtrObject::setVideoSignalGenMode, 801, "Set VSG Mode: %1"),
        idRow(&VtrObject::setVideoSignalGenMode, 0, "Set VSG Mode: %1"),
        idRow(&VtrObject::setAudioSignalGenMode, 900, "Set ASG Mode: %1"),
        idRow(&VtrObject::setAudioSignalGenMode, 0, "Set ASG Mode: %1"),
        idRow(&VtrObject::setCameraInput, 1002, "Set Camera Input: %1"),
        flagRow(&VtrObject::setForcePSFOutput, true, "Set Force PSF Output: Enabled"),
        flagRow(&VtrObject::setForcePSFEncode, true, "Set Force PSF Encode: Enabled"),
        idRow(&VtrObject::setVideoOutputType, 603, "Set Video Output Type: %1"),
        idRow(&VtrObject::setVideoOutputRoute, 53, "Set Video Output Route: %1"),
        idRow(&VtrObject::setSuperOut, 1300, "Set Super Out: %1"),
        {[](VtrObject &vtr) { vtr.setRecordInterval(12); }, "Set Record Interval: 12", Row::Told},
        {[](VtrObject &vtr) { vtr.setRecordIntervalTime(2); }, "Set Record Interval Time: 2", Row::Told},
        flagRow(&VtrObject::setIntervalRecordEnable, true, "Set Interval Record: Enabled", Row::Told),
        flagRow(&VtrObject::setVFREnable, true, "Set VFR: Enabled"),
        flagRow(&VtrObject::setVFREnable, false, "Set VFR: Disabled"),
        idRow(&VtrObject::setTCGSource, 1500, "Set TCG Source: %1", Row::Resets | Row::SetsUp),
        flagRow(&VtrObject::setStopOnFrameDrop, true, "Set Stop On Frame Drop: Enabled", Row::Told),
        flagRow(&VtrObject::setStopOnLossOfVideo, false, "Set Stop On Loss Of Video: Disabled", Row::None),
        {[](VtrObject &vtr) { vtr.setReelName("007"); }, "Reel Name: 007", Row::None},
        flagRow(&VtrObject::setRecordOnRunningTimecode, true, "Record on Running Timecode: Enabled",
                Row::None),
        flagRow(&VtrObject::setRecordOnRunningTimecode, false, "Record on Running Timecode: Disabled",
                Row::None),
        flagRow(&VtrObject::setVideoOutputSDILevelA, true, "Set Video Output SDI Level: Level A"),
        flagRow(&VtrObject::setVideoOutputSDILevelA, false, "Set Video Output SDI Level: Level B"),
        flagRow(&VtrObject::setVideoInputIgnoreANC, true, "Set Video Input Ignore ANC: Enabled"),
        idRow(&VtrObject::setHdmiOutputMode, 56, "Set HDMI Output Mode: %1"),
        {[](VtrObject &vtr) { vtr.setEncodeFormat(QmxId()); }, "Encode format is invalid", Row::None, true},
        {[](VtrObject &vtr) { vtr.setAudioChans(4); },
         "Failed to set audio channels to 4.  Unsupported number of channels\nSet Audio Channels: 4",
         Row::Resets, true},
        // Last: from then on every picture is converted, which takes its time.
        idRow(&VtrObject::setVideoInConvert, 1201, "Set Video In Convert: %1"),
        idRow(&VtrObject::setVideoOutConvert, 1200, "Set Video Out Convert: %1"),
        idRow(&VtrObject::setVideoInputSource, 602, "Set Video Input Source: %1"),
    };
}

} // namespace

TEST_F(SettingsTest, everyChange_isLoggedAndToldOnceAndReachesTheCardWhenItMustKnow)
{
    expectLog("vtrobject", "Encode format is invalid");
    expectLog("vtrobject", "Failed to set audio channels to 4.  Unsupported number of channels");
    startUp();
    auto *device = vtr().findChild<QmxVideoDevice *>();
    const QString reset = QStringLiteral("VIDEO DEVICE: Reset in mode StandbyOff");
    for (const Row &row : changes()) {
        SCOPED_TRACE(row.text.toStdString());
        forgetLog();
        events.clear();
        const QmxVideoDeviceSetup before = device->currentSetup();
        row.change(vtr());
        EXPECT_EQ(logged().join('\n'), row.text);
        if (!row.isRefused) row.change(vtr());
        EXPECT_EQ(logged().join('\n'), row.text) << "an equal value is no change";
        Stepper::runMs(499);
        EXPECT_EQ(events.filter("state ").size(), row.effects & Row::Told ? 1 : 0);
        EXPECT_FALSE(logged().contains(reset)) << "half a second for further changes";
        Stepper::runMs(2);
        EXPECT_EQ(logged().contains(reset), bool(row.effects & Row::Resets));
        Stepper::runMs(100); // the device answers
        EXPECT_EQ(device->currentSetup() != before, bool(row.effects & Row::SetsUp));
        // An input that came or went leads to its own reset.
        if (!events.filter("input ").isEmpty()) Stepper::runMs(600);
        ASSERT_TRUE(runUntilIdle());
    }
    EXPECT_EQ(vtr().state().encodeFormat(), QmxId(205));
    EXPECT_EQ(vtr().state().audioChans(), 8);
    // Each in its own place of the set-up.
    const QmxVideoDeviceSetup all = device->currentSetup();
    const QList<QmxId> ids = {all.videoInputSource(), all.audioInputSource(), all.audioInputLevel(),
                              all.inputRefSource(),   all.cameraInput(),      all.videoOutputType(),
                              all.videoOutRoute(),    all.superOut(),         all.timecodeInputSource(),
                              all.hdmiOutputMode(),   all.videoInConvert(),   all.videoOutConvert()};
    QList<int> numbers;
    for (const QmxId &id : ids)
        numbers.append(id.value());
    EXPECT_EQ(numbers, (QList<int>{602, 690, 1401, 503, 1002, 603, 53, 1300, 1500, 56, 1201, 1200}));
    EXPECT_EQ(all.inputLut().entries(), 4);
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
