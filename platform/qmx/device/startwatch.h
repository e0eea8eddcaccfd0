// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxtakemoment.h"
#include "platform/qmx/core/qmxtakewindow.h"
#include "platform/qmx/core/qmxvideorate.h"

#include <chrono>
#include <deque>
#include <optional>

/// From the moments at which an operator wants a take to begin and end to the frames of the clock: a window
/// for the gate. It sees every frame, so that a moment that is past is found as long as the frame may still
/// be in memory. A pure machine; guarded by whoever guards the gate.
class StartWatch
{
public:
    /// One frame of the clock.
    struct Frame
    {
        qint64 index = 0;
        qint64 wall = 0;      ///< time of day of its ideal moment
        bool byClock = false; ///< moments given as timecode mean the time of day
        QmxTimecode timecode; ///< else this; not valid: none at this frame
    };
    /// How long before it a start may hold back a take that has been commanded: one commanded earlier is
    /// another take.
    static constexpr std::chrono::seconds nearBy{10};
    /// How long after a start was given up, or past when it was wished for as a timecode (which comes again
    /// tomorrow), a take still counts as the one that was to begin with it.
    static constexpr std::chrono::seconds lateBy{60};

    /// Another wish; both None: no longer any.
    void set(const QmxTakeMoment &start, const QmxTakeMoment &end);
    /// Only of the end, while the take runs that began with the start.
    void setEnd(const QmxTakeMoment &end) { set(_start, end); }
    bool isSet() const { return _start.kind != QmxTakeMoment::None; }
    /// Every frame, in order. `kept`: so many frames back may still be handed out.
    void step(const Frame &frame, const QmxVideoRate &rate, int kept);
    /// What the gate is to be told; not set while the start is far away.
    QmxTakeWindow::Window window() const { return _window; }
    /// The start is so long past that no take will begin with it.
    bool isPast(qint64 now) const;
    /// Nobody has come: nothing is held back any more. It is remembered for a take that comes late; the end
    /// only of a wish that was late itself, since whoever forgot his start has forgotten his end too.
    void giveUp(qint64 now);
    /// A take begins at frame `now`, and the frame asked for may be past: then it begins as near to it as
    /// what is kept reaches.
    void takeBegins(qint64 now);
    /// The frame that was asked for, of the take that runs; it may be in memory no more.
    std::optional<qint64> asked() const { return _asked; }
    /// The timecode of frame `index`, when the take begins with a given one.
    std::optional<QmxTimecode> timecodeAt(qint64 index, int fps) const;

private:
    std::optional<qint64> distance(const QmxTakeMoment &moment, const Frame &frame) const;
    qint64 framesUntil(qint64 wall, const Frame &frame) const;
    std::optional<qint64> framesUntil(const QmxTimecode &timecode, const Frame &frame) const;
    void place(qint64 &at, const QmxTakeMoment &moment, const Frame &frame);
    void look(const Frame &frame);
    std::optional<qint64> lateFrame() const;

    /// A start that was given up.
    struct Missed
    {
        QmxTakeMoment start;
        QmxTakeMoment end;
        qint64 asked = 0;
        qint64 since = 0; ///< frame at which it was given up
    };
    QmxTakeMoment _start;
    QmxTakeMoment _end;
    QmxVideoRate _rate;
    std::deque<Frame> _recent; ///< frames that may still be handed out, oldest first
    int _kept = 0;
    QmxTakeWindow::Window _window;
    std::optional<qint64> _asked; ///< known, and where the window begins unless that is past
    std::optional<Missed> _missed;
    bool _wishIsLate = false; ///< the start was past when it came
    quint32 _serial = 1;      ///< odd: those of the shared table are even
};
