// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/device/qmxvideodevicesetup.h"

#include "platform/qmx/core/qmx.h"

namespace {
const Qmx::ValueTypes registered([] { qRegisterMetaType<QmxVideoDeviceSetup>("QmxVideoDeviceSetup"); });
} // namespace

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
