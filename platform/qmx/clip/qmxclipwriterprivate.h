// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/clip/movalignedbuffer.h"
#include "platform/qmx/clip/movearlierslots.h"
#include "platform/qmx/clip/movlayout.h"
#include "platform/qmx/clip/movoutput.h"
#include "platform/qmx/clip/movpictureproof.h"
#include "platform/qmx/clip/movproof.h"
#include "platform/qmx/clip/movtables.h"
#include "platform/qmx/clip/movwaymarks.h"
#include "platform/qmx/clip/qmxclipindex.h"
#include "platform/qmx/clip/qmxclipwriter.h"
#include "platform/qmx/core/qmxdeck.h"

#include <atomic>

/// What a writer knows of its clip. One thread, but for the counts.
struct QmxClipWriter::Private
{
    explicit Private(const QmxEnvironment &env) : environment(env), output(env) {}

    quint64 created(const QmxClipInfo &info) const
    {
        const qint64 wall = environment.clock->wallTime() / QmxClock::nsPerSecond;
        return quint64(info.created > 0 ? info.created : wall) + MovLayout::secondsFrom1904To1970;
    }
    qint64 lateTicks() const { return environment.deck->counters.value(QmxCounters::LateTicks); }
    QmxError fits(const QmxFrame &frame, QmxBuffer &picture);
    QmxError writePicture(QmxBuffer picture, const MovSharedProofPtr &shared);
    void addSound(const QmxFrame &frame);
    void findSoundPhase();
    void beginTake();
    void addTimecode(const QmxFrame &frame);
    void addJump(quint32 timecode);
    QmxError flush();
    QmxError writeTail();
    void prove();
    QByteArray header(qint64 frames) const;
    QmxError publish(MovFragment &fragment);
    QmxError fail(const QmxError &error);
    void beginFragment(qint64 slot);
    QmxError reopen(MovInput &input);
    QmxError restore(MovInput &input, const QmxClipIndex &index);

    QmxEnvironment environment;
    MovOutput output;
    MovFormat format;
    MovTables tables;
    MovWaymarks waymarks;
    MovEarlierSlots earlier;
    QByteArray kept; ///< the header of a clip that is gone on with
    QString path;
    bool open = false;
    QmxError failure;
    MovProof proof;
    QJsonObject take;      ///< its record, as it began
    QJsonObject lateStart; ///< the take was to begin earlier; empty: it was not
    QJsonArray origin;     ///< which frames of other clips these are; empty: none
    QList<QmxClipChapter> chapters;
    MovChain chain;
    qint64 lateBefore = 0;    ///< ticks that were late before the take
    MovFragment fragment;     ///< not flushed yet
    qint64 position = 0;      ///< where its next bytes go
    MovAlignedBuffer sound;   ///< of this fragment, in file form
    MovAlignedBuffer scratch; ///< for what is not in aligned memory
    QmxBuffer lastPicture;
    quint32 nextTimecode = 0; ///< frame number that continues the timecode
    qint64 lastJump = 0;      ///< frame at which the present run of timecodes began
    std::atomic<qint64> written = 0;
    std::atomic<qint64> durable = 0;
};
