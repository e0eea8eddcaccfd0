// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/core/qmxframe.h"

struct QmxFrame::Data : public QSharedData
{
    QList<QmxImage> vids;
    QList<QmxAudio> auds;
    QmxMetadataHash meta;
    quint64 origin = 0;
    bool keyFrame = false;
};

QmxFrame::QmxFrame()
{
    // All default frames share one payload, so that making one costs no allocation. Nobody destroys it: a
    // reader that still waits for its medium makes frames while the program ends.
    static const QSharedDataPointer<Data> &empty = *new QSharedDataPointer<Data>(new Data);
    d = empty;
}

QmxFrame::QmxFrame(const QmxFrame &other) = default;
QmxFrame::~QmxFrame() = default;
QmxFrame &QmxFrame::operator=(const QmxFrame &other) = default;

QmxFrame::QmxFrame(QmxFrame &&other) noexcept : QmxFrame()
{
    d.swap(other.d);
}

QmxFrame &QmxFrame::operator=(QmxFrame &&other) noexcept
{
    QmxFrame taken(std::move(other)); // what this frame held goes with it
    d.swap(taken.d);
    return *this;
}

QList<QmxImage> &QmxFrame::vids()
{
    return d->vids;
}

const QList<QmxImage> &QmxFrame::vids() const
{
    return d->vids;
}

QList<QmxAudio> &QmxFrame::auds()
{
    return d->auds;
}

const QList<QmxAudio> &QmxFrame::auds() const
{
    return d->auds;
}

QmxMetadataHash &QmxFrame::meta()
{
    return d->meta;
}

const QmxMetadataHash &QmxFrame::meta() const
{
    return d->meta;
}

void QmxFrame::setKeyFrameFlag(bool on)
{
    d->keyFrame = on;
}

bool QmxFrame::isKeyFrame() const
{
    return d->keyFrame;
}

void QmxFrame::setOrigin(quint64 origin)
{
    d->origin = origin;
}

quint64 QmxFrame::origin() const
{
    return d->origin;
}

bool QmxFrame::isValid() const
{
    return !d->vids.isEmpty() || !d->auds.isEmpty() || !d->meta.isEmpty();
}

qint64 QmxFrame::bytes() const
{
    qint64 sum = 0;
    for (const QmxImage &image : d->vids)
        for (const QmxBuffer &buffer : image.buffers())
            sum += buffer.capacity();
    for (const QmxAudio &audio : d->auds)
        sum += audio.buffer().capacity();
    return sum;
}

bool operator==(const QmxFrame &a, const QmxFrame &b)
{
    if (a.d.constData() == b.d.constData()) return true;
    return a.d->keyFrame == b.d->keyFrame && a.d->origin == b.d->origin && a.d->vids == b.d->vids &&
           a.d->auds == b.d->auds && a.d->meta == b.d->meta;
}
