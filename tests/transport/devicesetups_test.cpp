// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/support/print.h"
#include "xpd/transport/devicesetups.h"

#include <gtest/gtest.h>

namespace {

QmxImageDesc picture(int width, int height, const QmxVideoRate &rate, int dataType)
{
    QmxImageDesc desc;
    desc.setSize(width, height);
    desc.setFrameRate(rate);
    desc.setDataType(QmxId(dataType));
    return desc;
}

/// A state in which every field that a set-up takes over has a value of its own.
VtrState distinctState()
{
    VtrState state;
    state.setVideoInputSource(QmxId(602));
    state.setSyncSource(QmxId(503));
    state.setAudioInputSource(QmxId(690));
    state.setAudioInputLevel(QmxId(1402));
    state.setInputLut(QmxImageLut(QmxId(1100), 4));
    state.setOutputLut(QmxImageLut(QmxId(1100), 8));
    state.setVideoInConvert(QmxId(1201));
    state.setVideoOutConvert(QmxId(1202));
    state.setSuperOut(QmxId(1300));
    state.setVideoOutputType(QmxId(632));
    state.setVideoOutputRoute(QmxId(53));
    state.setForcePSFOutput(true);
    state.setVFREnabled(true);
    state.setCameraInput(QmxId(1003));
    state.setVideoInputIgnoreANC(true);
    state.setHdmiOutputMode(QmxId(56));
    state.setEncodeFormat(QmxId(203));
    state.setVideoSignalGenFormat(picture(1280, 720, 50, 250));
    return state;
}

} // namespace

TEST(DeviceSetups, standard_takesRoutingAndOptionsFromTheState)
{
    const QmxVideoDeviceSetup setup = DeviceSetups::standard(distinctState(), QmxId(1510), true);
    QmxImageDesc image = picture(1920, 1080, QmxVideoRate(24, 1), 202);
    image.setAspectRatio(1920, 1080);
    QmxAudioDesc audio;
    audio.setDataType(QmxId(408));
    audio.setChannels(2);
    audio.setSampleRate(48000, 1);
    audio.setFrameRate(24);
    QmxVideoDeviceSetup expected;
    expected.setImageCount(1);
    expected.setImageDesc(image);
    expected.setAudioDesc(audio);
    expected.setMode(1);
    expected.setVideoInputSource(QmxId(602));
    expected.setInputRefSource(QmxId(503));
    expected.setAudioInputSource(QmxId(690));
    expected.setAudioInputLevel(QmxId(1402));
    expected.setInputLut(QmxImageLut(QmxId(1100), 4));
    expected.setOutputLut(QmxImageLut(QmxId(1100), 8));
    expected.setVideoInConvert(QmxId(1201));
    expected.setVideoOutConvert(QmxId(1202));
    expected.setSuperOut(QmxId(1300));
    expected.setVideoOutputType(QmxId(632));
    expected.setVideoOutRoute(QmxId(53));
    expected.setForcePSFOutput(true);
    expected.setForceVFRRecord(true);
    expected.setVideoSignalGenColorSpace(QmxId(250));
    expected.setTimecodeInputSource(QmxId(1510));
    expected.setBlackingEnabled(false);
    expected.setCameraInput(QmxId(1003));
    expected.setMaxBuffers(40);
    expected.setVideoInputIgnoreANC(true);
    expected.setHdmiOutputMode(QmxId(56));
    EXPECT_TRUE(setup == expected);

    // The flags that are off above, and blacking without an input.
    VtrState flags;
    flags.setForcePSFEncode(true);
    flags.setVideoOutputSDILevelA(true);
    flags.setVideoSignalGenMode(QmxId(802));
    const QmxVideoDeviceSetup other = DeviceSetups::standard(flags, QmxId(), false);
    EXPECT_TRUE(other.forcePSFEncode() && other.videoOutputSDILevelA() && other.blackingEnabled());
    EXPECT_FALSE(other.forcePSFOutput() || other.forceVFRRecord() || other.videoInputIgnoreANC());
    EXPECT_EQ(other.videoSignalGenMode(), QmxId(802));
}

TEST(DeviceSetups, playback_describesTheFrame)
{
    const QmxVideoDeviceSetup standard = DeviceSetups::standard(distinctState(), QmxId(), false);
    QmxFrame frame;
    const QmxVideoDeviceSetup empty = DeviceSetups::playback(standard, frame);
    EXPECT_EQ(empty.imageDesc(), standard.imageDesc());
    EXPECT_EQ(empty.audioDesc(), QmxAudioDesc()) << "a frame without sound plays without sound";
    EXPECT_FALSE(empty.blackingEnabled());
    EXPECT_FALSE(empty.isInCapture());

    QmxAudioDesc eight;
    eight.setChannels(8);
    frame.vids().append(QmxImage(picture(720, 576, 25, 204)));
    frame.auds().append(QmxAudio(eight));
    const QmxVideoDeviceSetup full = DeviceSetups::playback(standard, frame);
    EXPECT_EQ(full.imageDesc(), picture(720, 576, 25, 204));
    EXPECT_EQ(full.audioDesc(), eight);
}

TEST(DeviceSetups, record_capturesInputOrGeneratorInTheEncodeFormat)
{
    VtrState state = distinctState();
    state.setAudioChans(8);
    QmxVideoState input;
    input.setValid(true);
    input.setCaptureImageDesc(picture(720, 486, QmxVideoRate(30000, 1001), 231));
    const QmxVideoDeviceSetup standard = DeviceSetups::standard(state, QmxId(), true);

    const QmxVideoDeviceSetup live = DeviceSetups::record(standard, state, input, true);
    EXPECT_TRUE(live.isInCapture());
    EXPECT_EQ(live.imageDesc(), picture(720, 486, QmxVideoRate(30000, 1001), 203));
    EXPECT_EQ(live.audioDesc().channels(), 8);
    EXPECT_EQ(live.audioDesc().frameRate(), QmxVideoRate(30000, 1001));
    EXPECT_EQ(live.maxBuffers(), 180);
    EXPECT_EQ(live.videoInputSource(), QmxId(602));
    EXPECT_EQ(live.audioInputSource(), QmxId(690));
    EXPECT_NE(live.mode(), standard.mode());

    const QmxVideoDeviceSetup dark = DeviceSetups::record(standard, state, input, false);
    EXPECT_EQ(dark.imageDesc().width(), 1920);
    EXPECT_EQ(dark.imageDesc().dataType(), QmxId(203));
    EXPECT_EQ(dark.maxBuffers(), 144);
    EXPECT_TRUE(dark.blackingEnabled());

    state.setVideoSignalGenMode(QmxId(800));
    state.setAudioSignalGenMode(QmxId(901));
    const QmxVideoDeviceSetup generated = DeviceSetups::record(standard, state, input, true);
    EXPECT_EQ(generated.imageDesc(), picture(1280, 720, 50, 203));
    EXPECT_EQ(generated.videoInputSource(), QmxId(695));
    EXPECT_EQ(generated.audioInputSource(), QmxId(695));
    EXPECT_EQ(generated.audioSignalGenMode(), QmxId(901));
    EXPECT_EQ(generated.maxBuffers(), 300);
}

TEST(DeviceSetups, shutdown_showsBarsOfTheGenerator)
{
    const VtrState state = distinctState();
    const QmxVideoDeviceSetup setup = DeviceSetups::shutdown(DeviceSetups::standard(state, QmxId(), false));
    EXPECT_TRUE(setup.isInCapture());
    EXPECT_EQ(setup.imageDesc().dataType(), QmxId(231));
    EXPECT_EQ(setup.audioDesc(), QmxAudioDesc());
    EXPECT_EQ(setup.videoSignalGenMode(), QmxId(800));
    EXPECT_EQ(setup.videoInputSource(), QmxId(695));
    EXPECT_FALSE(setup.superOut().isValid());
}
