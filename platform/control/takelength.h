// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxtakewindow.h"

#include <QStringList>

#include <chrono>

class Recorder;

/// How much a take holds, over the joins of rollovers, and its end at an exact frame: the card hands out no
/// frame behind it, so that it does not matter how soon the command to stop comes. One thread.
class TakeLength
{
public:
    /// Before the command to record; the take shall hold so much recorded time, 0: as much as comes.
    TakeLength(Recorder &recorder, std::chrono::duration<double> wanted);

    /// Sets the end, once it is near. To be called again and again from the command on: of a short take it is
    /// near before anybody knows that the take has begun.
    void aim();
    /// To be asked again and again when the clip is open, until the take ends. Nothing is asked of the disk.
    bool isFull();
    /// Where the take's clips lie, in their order.
    QStringList paths();

private:
    qint64 handedOut() const; ///< by the card, for this take
    void measure(const std::optional<QmxTakeWindow::Now> &now);
    void follow();
    void lookAtClip();

    Recorder &_recorder;
    QmxTakeWindow::Client _clock;
    const qint64 _takesBefore;
    const qint64 _handedBefore;
    const double _seconds;
    const bool _isInterval;
    const qint64 _firstBefore; ///< what is told until the card tells of this take
    bool _isEvery = true;      ///< every frame that is handed out comes into a clip
    qint64 _wanted = 0;
    qint64 _skipped = 0;    ///< of what was handed out: it came before the first picture
    qint64 _closed = 0;     ///< frames of clips before the one that is open
    qint64 _held = 0;       ///< frames of the one that is open
    qint64 _opened = 0;     ///< clips of this take
    qint64 _out = 0;        ///< its end, once that has been set
    qint64 _lastHanded = 0; ///< frames handed out at the last look ...
    qint64 _lastIndex = 0;  ///< ... and at which frame of the clock that became more
    qint64 _nextLook = 0;
    QStringList _names;
    QStringList _paths;
};
