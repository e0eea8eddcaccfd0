// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtGlobal>

/// How playback behaves near the newest frame of a clip that somebody still records. Frames come in flushes,
/// each some tenths of a second of them at once, and between two flushes there is nothing new: so playback at
/// normal speed keeps one flush and a little more behind the newest frame. A state machine of frames and
/// time; event loop only.
///
/// Where playback begins nearer than that it waits until the distance has come up, and then runs on without
/// a gap, as long as the recorder does. Faster playback runs up to the newest frame and goes on at normal
/// speed; what waits in the device is then kept short, or it would show later what came earlier.
class StreamLiveEdge
{
public:
    /// Between two flushes of a recorder, and what they may be late: as much as they are, once that is known,
    /// and a little more, so that all in all it is not more than a second.
    static constexpr qint64 flushTime = 400'000'000;
    static constexpr qint64 reserveTime = 160'000'000;
    static constexpr qint64 longestReserve = 400'000'000;

    /// A stream has been opened.
    void begin(bool growing, int length, double rate);
    /// `isDry`: everything before has been played, and nothing waits in the device.
    void grew(bool growing, int length, bool isDry, qint64 now);
    /// Play runs into another end from here.
    void changed(bool growing, int length);
    /// Playback goes on from another place, or at another speed.
    void restart();

    bool isGrowing() const { return _growing; }
    double rate() const { return _rate; }
    bool hasGrown() const { return _grown; }
    /// How far behind the newest frame playback at normal speed can begin now and run on.
    int distance(qint64 now) const;

    /// Of `loaded` frames from `position` on, how many may be handed on now; `waiting`: in the device.
    int release(int position, int loaded, double speed, int waiting, qint64 now);
    /// Faster playback has reached the newest frame: from here on it takes one frame after the other.
    void pace() { _paced = _flows = true; }
    bool isPaced() const { return _paced; }
    /// Playback had run dry: the next frame comes after a wait. Until the frame has been handed on.
    bool isAfterWait() const { return _waited; }
    void handedOn() { _waited = false; }
    /// Frames have been passed over: a gap before the next one is no drop either.
    void skipped() { _waited = true; }
    int waits() const { return _waits; }

private:
    int framesIn(qint64 time) const;
    void beLate(qint64 by);

    bool _growing = false;
    int _length = 0;
    double _rate = 25;
    qint64 _grewAt = 0;
    qint64 _reserve = reserveTime;
    bool _grown = false; ///< once since the open: when the flushes come is known
    bool _flows = false; ///< the distance has been there, and frames still come
    bool _paced = false;
    bool _began = false; ///< a frame has been handed on since playback goes on from here
    bool _waited = false;
    int _waits = 0;
};
