// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QList>
#include <QtGlobal>

#include <optional>

/// Which numbers the frames of a read stream have. A value.
///
/// A clip has them from 0 on, without a break. In a list an entry that somebody still records has room for
/// more frames than it holds: so the numbers of the entries behind it stay what they are while it grows, for
/// all who keep some of them. Such numbers without a frame are a gap. Who goes over one that is full-grown
/// comes out on its other side; at one that grows he waits for the next frame.
class StreamAxis
{
public:
    struct Gap
    {
        int first = 0;      ///< of its entry
        int begin = 0;      ///< the first number without a frame
        int end = 0;        ///< the first number behind
        bool grows = false; ///< what is before it does, into it
        bool operator==(const Gap &) const = default;
    };

    StreamAxis() = default;
    /// Frames 0 to `length` - 1; `grows`: more will follow.
    StreamAxis(int length, bool grows = false) : _end(length), _grows(grows) {}
    /// In rising order, inside the stream, not empty.
    void append(const Gap &gap);

    int first() const { return settled(0); }
    /// One behind the last number.
    int end() const { return _end; }
    /// More frames will follow behind the last.
    bool growsAtEnd() const { return _grows; }
    bool has(int frame) const { return frame >= 0 && frame < _end && !gapOf(frame); }
    /// How many frames come before this number: what somebody reads who counts them.
    int count(int frame) const;
    /// The number `by` frames later, or earlier; held between -1 and end(), and at a gap that grows.
    int advanced(int from, qint64 by) const;
    /// Where a seek leads: beyond an end to just past it, at an end that grows to the newest frame. Numbers
    /// in a gap are as far past it as they are inside, from the nearer side.
    int sought(int frame) const;
    /// Where the frames end that play runs into from here, and from where on they belong to what grows there.
    struct Edge
    {
        int first = 0;
        int at = 0;
        int behind = 0; ///< stays the same as long as it is the same edge
    };
    std::optional<Edge> edge(int frame) const;
    /// Only what lies before `end`.
    StreamAxis upTo(int end) const;

    bool operator==(const StreamAxis &) const = default;

private:
    std::optional<Gap> gapOf(int frame) const;
    int settled(int frame) const;
    int forward(int from, qint64 by) const;
    int backward(int from, qint64 by) const;

    QList<Gap> _gaps;
    int _end = 0;
    bool _grows = false;
    int _lastFirst = 0; ///< of the last entry, if that is one with room
};
