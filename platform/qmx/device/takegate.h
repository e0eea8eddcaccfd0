// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxtakewindow.h"

#include <algorithm>
#include <optional>

/// Decides whether a window that somebody has set counts, so that one that is stale, or whose owner has gone,
/// costs no take a frame: it counts for the take that begins around its first frame and for no other, and at
/// its end only as long as the take needs to be ended. Guarded by whoever guards its queue.
class TakeGate
{
public:
    /// Frames after `in` by which the take has begun, else nothing came of it.
    static constexpr qint64 latestStart = 50;
    /// Frames after `out` by which the take has ended, else it goes on.
    static constexpr qint64 latestEnd = 100;
    /// The same of one that follows a clock, or that only has an end: whoever ends it may be held up.
    static constexpr qint64 latestEndByClock = 600;

    /// So many frames back may still be handed out; a take may begin as late.
    void setKept(qint64 frames) { _latest = std::max(frames, latestStart); }
    /// At each frame of the clock, and before a take begins. True when a window has been given up in a take:
    /// the frames from here on follow a gap. `mayMove`: the first frame of a take that still waits for it may
    /// change, because it follows a clock.
    bool look(const QmxTakeWindow::Window &set, qint64 now, bool isRecording, bool mayMove = false);
    /// The first frame of a take that has begun: who names it may set its end.
    void takeBegins(qint64 first) { _first = first; }
    void takeEnds()
    {
        _window = {};
        _first = 0;
        _hasEndAlone = false;
    }
    /// The take that runs does not hold this frame.
    bool keepsOut(qint64 index) const { return _window.keepsOut(index); }
    /// The first frame of a take that is about to begin.
    std::optional<qint64> in() const;
    /// The first frame of the take that runs; 0: nothing of it has been read yet.
    qint64 first() const { return _first; }

private:
    qint64 _latest = latestStart;
    QmxTakeWindow::Window _window; ///< that counts
    /// Seen last. Windows come from two that count apart, so that a number alone says nothing.
    QmxTakeWindow::Window _seen;
    qint64 _first = 0;         ///< of the take that runs; 0: nothing of it has been read yet
    bool _hasEndAlone = false; ///< the window was set when the take had begun without one
};
