// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxaudio.h"
#include "platform/qmx/core/qmximage.h"
#include "platform/qmx/core/qmxmetadatahash.h"

#include <QSharedDataPointer>

/// Pictures, sound and metadata of one frame. A value: a copy costs a reference, never a picture, and a
/// changed copy leaves the original as it was.
class QmxFrame
{
public:
    QmxFrame();
    QmxFrame(const QmxFrame &other);
    QmxFrame(QmxFrame &&other) noexcept;
    ~QmxFrame();
    QmxFrame &operator=(const QmxFrame &other);
    QmxFrame &operator=(QmxFrame &&other) noexcept;

    // The forms that are not const detach: use a const frame to read.
    QList<QmxImage> &vids();
    const QList<QmxImage> &vids() const;
    QList<QmxAudio> &auds();
    const QList<QmxAudio> &auds() const;
    QmxMetadataHash &meta();
    const QmxMetadataHash &meta() const;

    /// A key frame is reported when it is on the output.
    void setKeyFrameFlag(bool on);
    bool isKeyFrame() const;
    /// Where the frame came from: 0 captured or made up, else the read stream (QmxPlayhead::openBegins()).
    void setOrigin(quint64 origin);
    quint64 origin() const;
    /// It has images, sound or metadata.
    bool isValid() const;
    /// Pool memory that the frame holds, in bytes of capacity.
    qint64 bytes() const;

    friend bool operator==(const QmxFrame &a, const QmxFrame &b);

private:
    struct Data;
    QSharedDataPointer<Data> d;
};

Q_DECLARE_METATYPE(QmxFrame)
