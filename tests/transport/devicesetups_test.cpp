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

VtrState someState()
{
    VtrState state;
    state.setVideoInputSource(QmxId(602));
    state.setAudioInputSource(QmxId(690));
    state.setSuperOut(QmxId(1300));
    state.setEncodeFormat(QmxId(203));
    state.setVideoSignalGenFormat(picture(1280, 720, 50, 250));
    return state;
}

} // namespace

TEST(DeviceSetups, playback_describesTheFrame)
{
    VtrState state = someState();
    state.setVideoSignalGenMode(QmxId(801));
    const QmxVideoDeviceSetup standard = DeviceSetups::standard(state, QmxId(), false);
    EXPECT_EQ(standard.videoInputSource(), QmxId(602));
    EXPECT_EQ(standard.audioInputSource(), QmxId(690));
    EXPECT_EQ(standard.videoSignalGenMode(), QmxId(801));
    EXPECT_TRUE(standard.blackingEnabled());
    QmxFrame frame;
    const QmxVideoDeviceSetup empty = DeviceSetups::playback(standard, frame);
    EXPECT_EQ(empty.imageDesc(), standard.imageDesc());
    EXPECT_EQ(empty.audioDesc(), QmxAudioDesc()) << "a frame without sound plays without sound";
    EXPECT_FALSE(empty.blackingEnabled());
    EXPECT_FALSE(empty.isInCapture());
    EXPECT_EQ(empty.maxBuffers(), 40);

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
    VtrState state = someState();
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
    const VtrState state = someState();
    const QmxVideoDeviceSetup setup = DeviceSetups::shutdown(DeviceSetups::standard(state, QmxId(), false));
    EXPECT_TRUE(setup.isInCapture());
    EXPECT_EQ(setup.imageDesc().dataType(), QmxId(231));
    EXPECT_EQ(setup.audioDesc(), QmxAudioDesc());
    EXPECT_EQ(setup.videoSignalGenMode(), QmxId(800));
    EXPECT_EQ(setup.videoInputSource(), QmxId(695));
    EXPECT_FALSE(setup.superOut().isValid());
}
