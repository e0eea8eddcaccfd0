// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QJsonArray>
#include <QJsonObject>
#include <QString>

#include <span>

/// What a deck is doing at one moment. A value that nobody changes once it is published (see DeckWatch).
/// What each member means, its unit and its name everywhere else stands in deckFields().
struct DeckState
{
    bool running = false;
    QString status; ///< label of transport_status, "not_running" without a daemon
    double speed = 0;
    qint64 tick = 0;
    qint64 frame = 0;
    qint64 length = 0;
    qint64 clipFrames = 0;
    qint64 recordedUpTo = 0;
    qint64 takeCopies = 0;
    qint64 takeStart = 0;
    static constexpr qint64 waitsForPicture = -1; ///< in place of the frames until it begins
    qint64 startIn = 0;
    qint64 safeOnBoth = 0;
    qint64 droppedCapture = 0;
    qint64 droppedPlayback = 0;
    qint64 lateTicks = 0;
    qint64 listEntry = -1;
    bool grows = false;
    qint64 liveDistance = -1;
    QString timecode;
    QString inputTimecode;
    bool dropFrame = false;
    bool inputDropFrame = false;
    QString timecodeSource;
    double rate = 0;
    QString clip;
    QString path;
    QString mirrorPath;
    QString inputFormat;
    bool inputLocked = false;
    QString recordFormat;
    QString recordCodec;
    QString mediaFormat;
    QString recordInhibited;
    QString playbackSource;
    QJsonArray media;
    qint64 secondsLeft = 0;
    int alarms = 0;
    QJsonArray alarmList;
    QJsonObject owner; ///< empty: nobody is in control
    QJsonObject lock;  ///< empty: not locked
    QString mode;
    QJsonObject take; ///< who began the take that runs; empty: none runs, or nobody knows
    QString listRevision;
    QJsonObject marksChanged; ///< empty: no mark has changed since this program began
    QString storeProblem;
    quint64 revision = 0; ///< counts up with every published change

    bool isRecording() const;
    /// False: it has a format that the recorder does not record.
    bool canRecordInput() const;
    /// Playing or still.
    bool isInPlay() const;
    QJsonObject toJson() const;
    /// The fields that differ from `before`, `revision` apart.
    QJsonObject changesSince(const DeckState &before) const;
    bool operator==(const DeckState &) const = default;
};

/// One field of the state: its one name and what it means.
struct DeckField
{
    const char *name;
    const char *type; ///< as in JSON schema: "integer", "string" ...
    const char *unit;
    bool isPerFrame; ///< comes from shared memory at the deck's rate, not from an event
    const char *help;
    QJsonValue (*value)(const DeckState &state);
};
std::span<const DeckField> deckFields();
