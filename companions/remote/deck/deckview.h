// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxtimecode.h"

#include <QMap>
#include <QString>

#include <cstdint>

/// What a machine on a port can ask of the deck without waiting: one moment of it. A value.
struct DeckView
{
    enum class Motion : std::uint8_t { Gone, Stopped, Recording, Playing, Still };

    Motion motion = Motion::Gone; ///< Gone: the daemon is not there
    double speed = 0.0;           ///< times play, negative: reverse
    bool hasMedium = false;
    bool hasReference = true;
    bool mayRecord = false;        ///< nothing inhibits a record
    bool hasFault = false;         ///< an alarm of level error is up
    bool isLocal = false;          ///< only the machine's own front may move it
    QmxTimecode timecode;          ///< of the picture on the output or of the take, at its rate
    QmxTimecode generatorTimecode; ///< that a take would carry now
    int fps = 25;                  ///< that timecodes count with
    bool drop = false;
    qint64 index = -1;     ///< of the video clock's newest frame; -1: not known
    qint64 frame = -1;     ///< of playback, on the output with that index; -1: none
    qint64 takeFirst = -1; ///< index of the take's first frame; -1: none
    qint64 takeFrames = 0; ///< accepted for the take
    qint64 length = -1;    ///< of what is played, in frames; -1: not known
    int secondsLeft = 0;   ///< that can still be recorded; 0: not known
    QString clip;          ///< empty: none

    bool moves() const { return motion == Motion::Playing; }
};

/// Something that the deck is told to do: a verb of the recorder with its arguments, as text.
struct DeckOrder
{
    // Not verbs of the table:
    static constexpr const char *set = "set";       ///< the parameter `name` to `value`
    static constexpr const char *refuse = "refuse"; ///< nothing: tells the operator `sentence`
    /// The take that comes holds frames of the video clock from index `in`, to before `out` if that is given.
    static constexpr const char *window = "window";

    QString verb;
    QMap<QString, QString> arguments;
    bool force = false;
    bool wait = false; ///< for its effect; else done as soon as it is given
    quint64 id = 0;    ///< of the port's counting; the answer carries it
};

/// How an order ended.
struct DeckAnswer
{
    quint64 id = 0;
    bool done = false;
    QString code;     ///< stable word: "done", "take_runs"
    QString sentence; ///< what was done, or what is wrong
};
