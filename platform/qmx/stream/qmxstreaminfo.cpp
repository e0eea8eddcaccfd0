// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/stream/qmxstreaminfo.h"

#include <QSharedData>

struct QmxStreamInfo::Data : QSharedData
{
    QList<QmxImageDesc> vids;
    QList<QmxAudioDesc> auds;
    int offset = 0;
    QString reelName;
    QmxVideoRate effectiveRate;
    int length = 0;
};

QmxStreamInfo::QmxStreamInfo() : d(new Data) {}
QmxStreamInfo::QmxStreamInfo(const QmxStreamInfo &other) = default;
QmxStreamInfo &QmxStreamInfo::operator=(const QmxStreamInfo &other) = default;
QmxStreamInfo::~QmxStreamInfo() = default;

QList<QmxImageDesc> &QmxStreamInfo::vids()
{
    return d->vids;
}

const QList<QmxImageDesc> &QmxStreamInfo::vids() const
{
    return d->vids;
}

QList<QmxAudioDesc> &QmxStreamInfo::auds()
{
    return d->auds;
}

const QList<QmxAudioDesc> &QmxStreamInfo::auds() const
{
    return d->auds;
}

void QmxStreamInfo::setOffset(int offset)
{
    d->offset = offset;
}

int QmxStreamInfo::offset() const
{
    return d->offset;
}

void QmxStreamInfo::setReelName(const QString &name)
{
    d->reelName = name;
}

QString QmxStreamInfo::reelName() const
{
    return d->reelName;
}

void QmxStreamInfo::setEffectiveFrameRate(const QmxVideoRate &rate)
{
    d->effectiveRate = rate;
}

QmxVideoRate QmxStreamInfo::effectiveFrameRate() const
{
    return d->effectiveRate;
}

void QmxStreamInfo::setLength(int frames)
{
    d->length = frames;
}

int QmxStreamInfo::length() const
{
    return d->length;
}

bool QmxStreamInfo::operator==(const QmxStreamInfo &other) const
{
    return d == other.d || (d->vids == other.d->vids && d->auds == other.d->auds &&
                            d->offset == other.d->offset && d->length == other.d->length &&
                            d->reelName == other.d->reelName && d->effectiveRate == other.d->effectiveRate);
}
