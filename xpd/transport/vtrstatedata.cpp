// SPDX-License-Identifier: GPL-3.0-or-later
#include "xpd/transport/vtrstatedata.h"

void VtrStateData::setSpeed(double newSpeed)
{
    speed = newSpeed;
    speedFlags = VtrSpeedFlags::fromSpeed(newSpeed);
}

bool VtrStateData::operator==(const VtrStateData &other) const
{
    return mode == other.mode && audioChans == other.audioChans && recordInterval == other.recordInterval &&
           recordIntervalTime == other.recordIntervalTime &&
           intervalRecordEnable == other.intervalRecordEnable && looping == other.looping &&
           speed == other.speed && encodeFormat == other.encodeFormat &&
           videoOutputType == other.videoOutputType && videoInputSource == other.videoInputSource &&
           audioInputSource == other.audioInputSource && audioInputLevel == other.audioInputLevel &&
           syncSource == other.syncSource && cameraInput == other.cameraInput &&
           videoSignalGenMode == other.videoSignalGenMode && audioSignalGenMode == other.audioSignalGenMode &&
           videoSignalGenFormat == other.videoSignalGenFormat && inputLut == other.inputLut &&
           outputLut == other.outputLut && videoInConvert == other.videoInConvert &&
           videoOutConvert == other.videoOutConvert && superOut == other.superOut &&
           videoOutputRoute == other.videoOutputRoute && forcePSFOutput == other.forcePSFOutput &&
           forcePSFEncode == other.forcePSFEncode && vfrEnable == other.vfrEnable &&
           stopOnFrameDrop == other.stopOnFrameDrop && videoOutputSDILevelA == other.videoOutputSDILevelA &&
           videoInputIgnoreANC == other.videoInputIgnoreANC && hdmiOutputMode == other.hdmiOutputMode;
}

QString VtrStateData::toString() const
{
    return QString::asprintf("%.3lf ", speed) + QStringLiteral("%1 ").arg(QLatin1String(mode.name()));
}
