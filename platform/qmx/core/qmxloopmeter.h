// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxclock.h"

#include <QObject>

#include <memory>

/// Counts the longest turn of the event loop (QmxCounters::EventLoopLongest): from the first event after a
/// wait to the next wait. The dispatchers' own signals do not tell when a wait ends and work begins (one
/// dispatcher waits and works between the same two signals), so the first event does. Event loop only.
class QmxLoopMeter : public QObject
{
public:
    /// Watches the loop of the application object, which becomes the parent.
    explicit QmxLoopMeter(std::shared_ptr<QmxClock> clock);

protected:
    bool eventFilter(QObject *receiver, QEvent *event) override;

private:
    void turnEnds();

    std::shared_ptr<QmxClock> _clock;
    bool _working = false;
    bool _running = false; ///< the loop has waited at least once
    qint64 _since = 0;
};
