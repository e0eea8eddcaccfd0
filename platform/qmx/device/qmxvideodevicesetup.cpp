// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/device/qmxvideodevicesetup.h"

#include "platform/qmx/core/qmx.h"

#include <QSharedData>

#include <tuple>

namespace {
constexpr int defaultMaxBuffers = 40;
const Qmx::ValueTypes registered([] { qRegisterMetaType<QmxVideoDeviceSetup>("QmxVideoDeviceSetup"); });
} // namespace

struct QmxVideoDeviceSetup::Data : QSharedData
{
    int imageCount = 1;
    QmxImageDesc imageDesc;
    QmxAudioDesc audioDesc;
    int mode = QmxVideoDeviceSetup::OutputMode;
    QmxId videoInputSource;
    QmxId inputRefSource;
    QmxId audioInputSource;
    QmxId audioInputLevel;
    QmxImageLut inputLut;
    QmxImageLut outputLut;
    QmxId videoInConvert;
    QmxId videoOutConvert;
    QmxId superOut;
    QmxId videoOutputType;
    QmxId videoOutRoute;
    bool forcePSFOutput = false;
    bool forcePSFEncode = false;
    bool forceVFRRecord = false;
    QmxId videoSignalGenMode;
    QmxId audioSignalGenMode;
    QmxId videoSignalGenColorSpace;
    QmxId timecodeInputSource;
    bool blackingEnabled = false;
    QmxId cameraInput;
    int maxBuffers = defaultMaxBuffers;
    bool videoOutputSDILevelA = false;
    bool videoInputIgnoreANC = false;
    QmxId hdmiOutputMode;

    /// The fields that a captured frame depends on.
    auto capture() const
    {
        return std::tie(imageCount, imageDesc, audioDesc, mode, videoInputSource, audioInputSource,
                        audioInputLevel, inputLut, videoInConvert, forcePSFEncode, forceVFRRecord,
                        videoSignalGenMode, audioSignalGenMode, videoSignalGenColorSpace, timecodeInputSource,
                        videoInputIgnoreANC);
    }
    auto output() const
    {
        return std::tie(inputRefSource, outputLut, videoOutConvert, superOut, videoOutputType, videoOutRoute,
                        forcePSFOutput, blackingEnabled, cameraInput, maxBuffers, videoOutputSDILevelA,
                        hdmiOutputMode);
    }
};

QmxVideoDeviceSetup::QmxVideoDeviceSetup() : d(new Data) {}
QmxVideoDeviceSetup::QmxVideoDeviceSetup(const QmxVideoDeviceSetup &other) = default;
QmxVideoDeviceSetup::~QmxVideoDeviceSetup() = default;
QmxVideoDeviceSetup &QmxVideoDeviceSetup::operator=(const QmxVideoDeviceSetup &other) = default;

bool operator==(const QmxVideoDeviceSetup &a, const QmxVideoDeviceSetup &b)
{
    if (a.d.constData() == b.d.constData()) return true;
    return a.d->capture() == b.d->capture() && a.d->output() == b.d->output();
}

bool QmxVideoDeviceSetup::capturesLike(const QmxVideoDeviceSetup &other) const
{
    return d.constData() == other.d.constData() || d->capture() == other.d->capture();
}

QmxImageDesc QmxVideoDeviceSetup::captureDesc() const
{
    QmxImageDesc desc = d->imageDesc;
    if (d->forcePSFEncode && desc.isInterlaced()) desc.setScanMode(QmxImageDesc::SegmentedFrame);
    return desc;
}

void QmxVideoDeviceSetup::setImageCount(int value)
{
    d->imageCount = value;
}

int QmxVideoDeviceSetup::imageCount() const
{
    return d->imageCount;
}

void QmxVideoDeviceSetup::setImageDesc(const QmxImageDesc &value)
{
    d->imageDesc = value;
}

QmxImageDesc QmxVideoDeviceSetup::imageDesc() const
{
    return d->imageDesc;
}

void QmxVideoDeviceSetup::setAudioDesc(const QmxAudioDesc &value)
{
    d->audioDesc = value;
}

QmxAudioDesc QmxVideoDeviceSetup::audioDesc() const
{
    return d->audioDesc;
}

void QmxVideoDeviceSetup::setMode(int value)
{
    d->mode = value;
}

int QmxVideoDeviceSetup::mode() const
{
    return d->mode;
}

void QmxVideoDeviceSetup::setVideoInputSource(const QmxId &value)
{
    d->videoInputSource = value;
}

QmxId QmxVideoDeviceSetup::videoInputSource() const
{
    return d->videoInputSource;
}

void QmxVideoDeviceSetup::setInputRefSource(const QmxId &value)
{
    d->inputRefSource = value;
}

QmxId QmxVideoDeviceSetup::inputRefSource() const
{
    return d->inputRefSource;
}

void QmxVideoDeviceSetup::setAudioInputSource(const QmxId &value)
{
    d->audioInputSource = value;
}

QmxId QmxVideoDeviceSetup::audioInputSource() const
{
    return d->audioInputSource;
}

void QmxVideoDeviceSetup::setAudioInputLevel(const QmxId &value)
{
    d->audioInputLevel = value;
}

QmxId QmxVideoDeviceSetup::audioInputLevel() const
{
    return d->audioInputLevel;
}

void QmxVideoDeviceSetup::setInputLut(const QmxImageLut &value)
{
    d->inputLut = value;
}

QmxImageLut QmxVideoDeviceSetup::inputLut() const
{
    return d->inputLut;
}

void QmxVideoDeviceSetup::setOutputLut(const QmxImageLut &value)
{
    d->outputLut = value;
}

QmxImageLut QmxVideoDeviceSetup::outputLut() const
{
    return d->outputLut;
}

void QmxVideoDeviceSetup::setVideoInConvert(const QmxId &value)
{
    d->videoInConvert = value;
}

QmxId QmxVideoDeviceSetup::videoInConvert() const
{
    return d->videoInConvert;
}

void QmxVideoDeviceSetup::setVideoOutConvert(const QmxId &value)
{
    d->videoOutConvert = value;
}

QmxId QmxVideoDeviceSetup::videoOutConvert() const
{
    return d->videoOutConvert;
}

void QmxVideoDeviceSetup::setSuperOut(const QmxId &value)
{
    d->superOut = value;
}

QmxId QmxVideoDeviceSetup::superOut() const
{
    return d->superOut;
}

void QmxVideoDeviceSetup::setVideoOutputType(const QmxId &value)
{
    d->videoOutputType = value;
}

QmxId QmxVideoDeviceSetup::videoOutputType() const
{
    return d->videoOutputType;
}

void QmxVideoDeviceSetup::setVideoOutRoute(const QmxId &value)
{
    d->videoOutRoute = value;
}

QmxId QmxVideoDeviceSetup::videoOutRoute() const
{
    return d->videoOutRoute;
}

void QmxVideoDeviceSetup::setForcePSFOutput(bool value)
{
    d->forcePSFOutput = value;
}

bool QmxVideoDeviceSetup::forcePSFOutput() const
{
    return d->forcePSFOutput;
}

void QmxVideoDeviceSetup::setForcePSFEncode(bool value)
{
    d->forcePSFEncode = value;
}

bool QmxVideoDeviceSetup::forcePSFEncode() const
{
    return d->forcePSFEncode;
}

void QmxVideoDeviceSetup::setForceVFRRecord(bool value)
{
    d->forceVFRRecord = value;
}

bool QmxVideoDeviceSetup::forceVFRRecord() const
{
    return d->forceVFRRecord;
}

void QmxVideoDeviceSetup::setVideoSignalGenMode(const QmxId &value)
{
    d->videoSignalGenMode = value;
}

QmxId QmxVideoDeviceSetup::videoSignalGenMode() const
{
    return d->videoSignalGenMode;
}

void QmxVideoDeviceSetup::setAudioSignalGenMode(const QmxId &value)
{
    d->audioSignalGenMode = value;
}

QmxId QmxVideoDeviceSetup::audioSignalGenMode() const
{
    return d->audioSignalGenMode;
}

void QmxVideoDeviceSetup::setVideoSignalGenColorSpace(const QmxId &value)
{
    d->videoSignalGenColorSpace = value;
}

QmxId QmxVideoDeviceSetup::videoSignalGenColorSpace() const
{
    return d->videoSignalGenColorSpace;
}

void QmxVideoDeviceSetup::setTimecodeInputSource(const QmxId &value)
{
    d->timecodeInputSource = value;
}

QmxId QmxVideoDeviceSetup::timecodeInputSource() const
{
    return d->timecodeInputSource;
}

void QmxVideoDeviceSetup::setBlackingEnabled(bool value)
{
    d->blackingEnabled = value;
}

bool QmxVideoDeviceSetup::blackingEnabled() const
{
    return d->blackingEnabled;
}

void QmxVideoDeviceSetup::setCameraInput(const QmxId &value)
{
    d->cameraInput = value;
}

QmxId QmxVideoDeviceSetup::cameraInput() const
{
    return d->cameraInput;
}

void QmxVideoDeviceSetup::setMaxBuffers(int value)
{
    d->maxBuffers = value;
}

int QmxVideoDeviceSetup::maxBuffers() const
{
    return d->maxBuffers;
}

void QmxVideoDeviceSetup::setVideoOutputSDILevelA(bool value)
{
    d->videoOutputSDILevelA = value;
}

bool QmxVideoDeviceSetup::videoOutputSDILevelA() const
{
    return d->videoOutputSDILevelA;
}

void QmxVideoDeviceSetup::setVideoInputIgnoreANC(bool value)
{
    d->videoInputIgnoreANC = value;
}

bool QmxVideoDeviceSetup::videoInputIgnoreANC() const
{
    return d->videoInputIgnoreANC;
}

void QmxVideoDeviceSetup::setHdmiOutputMode(const QmxId &value)
{
    d->hdmiOutputMode = value;
}

QmxId QmxVideoDeviceSetup::hdmiOutputMode() const
{
    return d->hdmiOutputMode;
}
