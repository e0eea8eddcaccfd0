// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxtimecode.h"

#include <QtGlobal>

#include <functional>
#include <memory>

/// Where playback stands: the one thing that the stream cache and the video device know of each other.
///
/// The cache of the player tells when its stream is being opened for reading, has opened or failed, and at
/// which position it stands; the device asks whether a frame came from the stream opened last, and holds
/// back the report of a flush while an open is in progress, so that the report comes right after the
/// open's (right before it when the open fails). Event loop only, position() and origin() any thread.
class QmxPlayhead
{
public:
    QmxPlayhead();
    ~QmxPlayhead();
    QmxPlayhead(const QmxPlayhead &) = delete;
    QmxPlayhead &operator=(const QmxPlayhead &) = delete;

    /// A read stream is being opened behind a cache: gives the origin that its frames will carry
    /// (QmxFrame::origin()); a previous opening that has not completed is thereby abandoned.
    quint64 openBegins();
    /// Called immediately before openIsDone is emitted with an error: runs the held callbacks.
    void openFails(quint64 origin);
    /// Called immediately after openIsDone has been delivered to all its receivers and the kept seek has
    /// been applied: runs the held callbacks. Unknown (abandoned) origins are ignored.
    void openEnds(quint64 origin);
    bool isOpening() const;
    /// The origin of the read stream opened last; 0 before the first.
    quint64 origin() const;

    /// Runs `callback` when no open is in progress any more: at once when none is.
    void whenOpened(std::function<void()> callback);

    /// The cache has moved to `frame`: by reading on, or by a seek, whose place counts as reached only when
    /// settle() says so or an open ends.
    void setPosition(int frame);
    /// What the cache has been sought to holds from now on.
    void settle();
    /// The position at which the cache stands. A seek made to be completed by a flush is left out until the
    /// flush has been reported, because its maker counts from where playback was before.
    int position() const;
    /// Changes with every setPosition().
    quint64 moves() const;

    /// The timecode of the picture that playback has on the output; not valid before the first. Any thread.
    void setTimecodeShown(const QmxTimecode &timecode);
    QmxTimecode timecodeShown() const;
    /// Playback holds its picture: whatever is loaded may be shown, however near to the end of a clip that
    /// grows it is. Any thread.
    void setStill(bool still);
    bool isStill() const;

private:
    struct Private;
    std::unique_ptr<Private> d;
};
