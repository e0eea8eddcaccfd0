// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxaudiodesc.h"
#include "platform/qmx/core/qmximagedesc.h"
#include "platform/qmx/core/qmxvideorate.h"

#include <QList>
#include <QMetaType>
#include <QSharedDataPointer>
#include <QString>

/// What a stream holds. To a stream that shall be written it says what the clip shall be; of an open stream
/// it tells what there is (of a play list: of its first entry that can be read, and the length of all). An
/// implicitly shared value.
class QmxStreamInfo
{
public:
    QmxStreamInfo();
    QmxStreamInfo(const QmxStreamInfo &other);
    QmxStreamInfo &operator=(const QmxStreamInfo &other);
    ~QmxStreamInfo();

    /// Descriptions of the images and of the blocks of sound of every frame.
    QList<QmxImageDesc> &vids();
    const QList<QmxImageDesc> &vids() const;
    QList<QmxAudioDesc> &auds();
    const QList<QmxAudioDesc> &auds() const;
    /// Frame number of the stream's first frame.
    void setOffset(int offset);
    int offset() const;
    void setReelName(const QString &name);
    QString reelName() const;
    /// The rate at which the clip plays when it is not that of its images; else not set.
    void setEffectiveFrameRate(const QmxVideoRate &rate);
    QmxVideoRate effectiveFrameRate() const;
    /// Frames.
    void setLength(int frames);
    int length() const;

    bool operator==(const QmxStreamInfo &other) const;
    bool operator!=(const QmxStreamInfo &other) const { return !(*this == other); }

private:
    struct Data;
    QSharedDataPointer<Data> d;
};

Q_DECLARE_METATYPE(QmxStreamInfo)
