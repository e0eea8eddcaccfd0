// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxerror.h"
#include "platform/qmx/stream/streamreader.h"

#include <QList>

/// What a stream tells the cache in front of it. All calls come on the event loop, those that belong to an
/// emission of the stream immediately before or after it, as named.
class QmxStreamPeer
{
public:
    virtual ~QmxStreamPeer() = default;

    /// open() has been called; `open` counts them, `mode` is the stream's.
    virtual void openBegins(int open, int mode) = 0;
    /// Just before openIsDone: frames can be asked for, or handed over.
    virtual void opened(int open) = 0;
    /// Just before an openIsDone with an error.
    virtual void openFailed(int open) = 0;
    /// Just after openIsDone without error has been delivered to everybody, unless one of them has opened
    /// something else.
    virtual void openDelivered(int open) = 0;
    /// The stream is about to be closed, or what it did is abandoned: the last moment to hand over frames.
    virtual void closeBegins(int mode) = 0;

    virtual void framesRead(const QList<StreamReader::Result> &results) = 0;
    virtual void grown() = 0;
    virtual void roomCame() = 0;
    virtual void writeFailed(const QmxError &error, bool fatal) = 0;
    /// The stream is being destroyed.
    virtual void streamGone() = 0;
};
