// SPDX-License-Identifier: GPL-3.0-or-later
#include "xpd/transport/devicesetups.h"

#include "platform/qmx/core/qmxaudiodesc.h"
#include "platform/qmx/core/qmxids.h"

namespace {

constexpr int defaultWidth = 1920;
constexpr int defaultHeight = 1080;
constexpr int defaultChannels = 2;
constexpr int sampleRate = 48000;
constexpr int defaultBuffers = 40;
constexpr int recordBufferSeconds = 6; // what the device holds while the disk stalls

QmxImageDesc defaultImageDesc()
{
    QmxImageDesc desc;
    desc.setSize(defaultWidth, defaultHeight);
    desc.setAspectRatio(defaultWidth, defaultHeight);
    desc.setFrameRate(QmxVideoRate(24000, 1000));
    desc.setScanMode(QmxImageDesc::Progressive);
    desc.setDataType(QmxIds::proRes422);
    return desc;
}

QmxAudioDesc pcmDesc(int channels, const QmxVideoRate &rate)
{
    QmxAudioDesc desc;
    desc.setDataType(QmxIds::pcm);
    desc.setChannels(channels);
    desc.setSampleRate(sampleRate, 1);
    desc.setFrameRate(rate);
    return desc;
}

} // namespace

QmxVideoDeviceSetup DeviceSetups::standard(const VtrState &state, const QmxId &timecodeSource,
                                           bool inputValid)
{
    const QmxImageDesc image = defaultImageDesc();
    QmxVideoDeviceSetup setup;
    setup.setImageCount(1);
    setup.setImageDesc(image);
    setup.setAudioDesc(pcmDesc(defaultChannels, image.frameRate()));
    setup.setMode(QmxVideoDeviceSetup::OutputMode);
    setup.setVideoInputSource(state.videoInputSource());
    setup.setInputRefSource(state.syncSource());
    setup.setAudioInputSource(state.audioInputSource());
    setup.setAudioInputLevel(state.audioInputLevel());
    setup.setInputLut(state.inputLut());
    setup.setOutputLut(state.outputLut());
    setup.setVideoInConvert(state.videoInConvert());
    setup.setVideoOutConvert(state.videoOutConvert());
    setup.setSuperOut(state.superOut());
    setup.setVideoOutputType(state.videoOutputType());
    setup.setVideoOutRoute(state.videoOutputRoute());
    setup.setForcePSFOutput(state.forcePSFOutput());
    setup.setForcePSFEncode(state.forcePSFEncode());
    setup.setForceVFRRecord(state.vfrEnable());
    setup.setVideoSignalGenMode(state.videoSignalGenMode());
    setup.setVideoSignalGenColorSpace(state.videoSignalGenFormat().dataType());
    setup.setTimecodeInputSource(timecodeSource);
    setup.setBlackingEnabled(!inputValid);
    setup.setCameraInput(state.cameraInput());
    setup.setMaxBuffers(defaultBuffers);
    setup.setVideoOutputSDILevelA(state.videoOutputSDILevelA());
    setup.setVideoInputIgnoreANC(state.videoInputIgnoreANC());
    setup.setHdmiOutputMode(state.hdmiOutputMode());
    return setup;
}

QmxVideoDeviceSetup DeviceSetups::playback(const QmxVideoDeviceSetup &standard, const QmxFrame &frame)
{
    QmxVideoDeviceSetup setup = standard;
    setup.setImageCount(1);
    setup.setMode(QmxVideoDeviceSetup::OutputMode);
    if (!frame.vids().isEmpty()) setup.setImageDesc(frame.vids().first().desc());
    setup.setAudioDesc(frame.auds().isEmpty() ? QmxAudioDesc() : frame.auds().first().desc());
    setup.setBlackingEnabled(false);
    return setup;
}

QmxVideoDeviceSetup DeviceSetups::record(const QmxVideoDeviceSetup &standard, const VtrState &state,
                                         const QmxVideoState &input, bool inputValid)
{
    const bool generatesVideo = state.videoSignalGenMode().isValid();
    const bool generatesAudio = state.audioSignalGenMode().isValid();
    const QmxImageDesc incoming = inputValid ? input.captureImageDesc() : standard.imageDesc();
    QmxImageDesc encoded = generatesVideo ? state.videoSignalGenFormat() : incoming;
    encoded.setDataType(state.encodeFormat());

    QmxVideoDeviceSetup setup = standard;
    setup.setImageCount(1);
    setup.setMode(QmxVideoDeviceSetup::CaptureMode);
    setup.setVideoInputSource(generatesVideo ? QmxIds::internalGenerator : state.videoInputSource());
    setup.setAudioInputSource(generatesAudio ? QmxIds::internalGenerator : state.audioInputSource());
    setup.setAudioSignalGenMode(state.audioSignalGenMode());
    setup.setImageDesc(encoded);
    setup.setAudioDesc(pcmDesc(state.audioChans(), encoded.frameRate()));
    setup.setBlackingEnabled(!inputValid);
    setup.setMaxBuffers(recordBufferSeconds * encoded.frameRate().timecodeRate());
    return setup;
}

QmxVideoDeviceSetup DeviceSetups::shutdown(const QmxVideoDeviceSetup &standard)
{
    QmxImageDesc image = standard.imageDesc();
    image.setDataType(QmxIds::uncompressed10);
    QmxVideoDeviceSetup setup = standard;
    setup.setMode(QmxVideoDeviceSetup::CaptureMode);
    setup.setImageDesc(image);
    setup.setAudioDesc(QmxAudioDesc());
    setup.setVideoSignalGenMode(QmxIds::bars);
    setup.setVideoInputSource(QmxIds::internalGenerator);
    setup.setSuperOut(QmxIds::none);
    return setup;
}
