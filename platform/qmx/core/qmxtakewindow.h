// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxtimecode.h"

#include <QString>
#include <QtGlobal>

#include <memory>
#include <optional>

/// Where the video clock is, and which of its frames a take shall hold: how an edit becomes exact to the
/// frame although the command to record comes a little earlier or later. A small table in shared memory
/// (QmxPlaces::takeWindow) of which the recorder writes one half and a companion the other.
///
/// Frames are counted by the index of the clock. The recorder counts a window as one for the take that begins
/// around `in`; one that nothing came of is void by itself, see LumenEngine.
namespace QmxTakeWindow {

/// The newest frame of the clock.
struct Now
{
    qint64 index = -1;
    qint64 frame = -1; ///< of playback, that is on the output with it; -1: none
    qint64 first = -1; ///< index of the first frame of the take that runs or was the last; -1: none yet
    /// Ideal moment of that frame, by the monotonic clock that all programs of the machine share (ns): what
    /// tells which index of one recorder is which of another.
    qint64 moment = 0;
    qint64 period = 0;    ///< of a frame, ns, rounded down
    QmxTimecode timecode; ///< of the picture that is on the output with it; not valid: it has none
};

struct Window
{
    quint32 serial = 0; ///< another one: somebody has set it anew
    qint64 in = 0;      ///< first frame; 0: no window
    qint64 out = 0;     ///< first frame that is not held any more; 0: open

    bool isSet() const { return in > 0; }
    /// A frame that a take must not hold.
    bool keepsOut(qint64 index) const { return isSet() && (index < in || (out > 0 && index >= out)); }
    friend bool operator==(const Window &, const Window &) = default;
};

/// The recorder's half. One thread tells, any reads the window. Until publish() it is private memory.
class Board
{
public:
    Board();
    ~Board();
    Board(const Board &) = delete;
    Board &operator=(const Board &) = delete;

    /// False when it cannot be made, or a living process has it.
    bool publish();
    void tell(const Now &now);
    Window window() const;
    /// As a companion does it; for who has this board.
    void set(qint64 in, qint64 out);

private:
    struct Private;
    std::unique_ptr<Private> d;
};

/// A companion's half. One thread.
class Client
{
public:
    Client();
    ~Client();
    Client(const Client &) = delete;
    Client &operator=(const Client &) = delete;

    /// Nothing when there is no recorder, or none that ticks yet. Looks for a newer one at most once a
    /// second.
    std::optional<Now> now();
    /// False when there is no recorder, or no right to.
    bool set(qint64 in, qint64 out);

private:
    struct Private;
    std::unique_ptr<Private> d;
};

} // namespace QmxTakeWindow
