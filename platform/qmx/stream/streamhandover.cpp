// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/stream/streamhandover.h"

#include "platform/qmx/core/qmxdeck.h"
#include "platform/qmx/core/qmxids.h"
#include "platform/qmx/core/qmxlog.h"
#include "platform/qmx/core/qmxtimecode.h"
#include "platform/qmx/stream/streampair.h"

void StreamHandOver::begin()
{
    _waiting.clear();
    _accepted = 0;
    _dropped = 0;
    _failed = false;
}

void StreamHandOver::write(const QmxFrame &frame, const QString &path)
{
    // Before it is handed over: the timecode generator continues after this frame from now on.
    _environment.deck->recordTable.frameWritten(
        path, frame.meta().value(QmxIds::timecode).value<QmxTimecode>(), _accepted == 0);
    ++_accepted;
    _environment.deck->counters.set(QmxCounters::CurrentClipFrames, _accepted);
    _waiting.push_back(frame);
}

void StreamHandOver::drop(const QString &path)
{
    if (_dropped++ == 0)
        qmxLogOutput(1, "streamcache", __LINE__, "Frames are dropped: %s takes no more\n", qPrintable(path));
    _environment.deck->counters.add(QmxCounters::FramesDroppedCapture);
}

void StreamHandOver::give(StreamPair *writer, bool all)
{
    if (!writer) return;
    while (!_waiting.empty() && (all || writer->hasRoom())) {
        writer->append(_waiting.front());
        _waiting.pop_front();
    }
    _environment.deck->counters.set(QmxCounters::CacheFrames, qint64(_waiting.size()));
}

void StreamHandOver::fail()
{
    _failed = true;
    _dropped += qint64(_waiting.size());
    _environment.deck->counters.add(QmxCounters::FramesDroppedCapture, qint64(_waiting.size()));
    _waiting.clear();
}
