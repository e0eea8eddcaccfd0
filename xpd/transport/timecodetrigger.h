// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxtimecode.h"

#include <QObject>

/// Tells from the input timecode of every vertical interval whether that timecode runs or stands.
///
/// A change is reported when it has been observed more than `delay` times beyond the first in a row, so
/// that a single odd value changes nothing. What is established first is always reported once.
/// Event loop only.
class TimecodeTrigger : public QObject
{
    Q_OBJECT

public:
    explicit TimecodeTrigger(QObject *parent = nullptr) : QObject(parent) {}

signals:
    void timecodeHasStarted();
    void timecodeHasStopped();

public slots:
    /// Takes the input timecode of one vertical interval; not valid when the input has none.
    void setTimecode(const QmxTimecode &timecode);
    /// Sets how many further observations confirm a change.
    void setDelay(int delay);

private:
    enum State { Unknown = 0, Stopped = 1, Running = 2 };

    void processTimecode(const QmxTimecode &timecode);

    QmxTimecode _lastTimecode;
    int _delay = 0;
    int _count = 0;
    State _state = Unknown;
    State _candidate = Unknown;
    bool _repeatSeen = false;
};
