// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/stream/qmxstreamcache.h"

#include "platform/qmx/core/qmxdeck.h"
#include "platform/qmx/core/qmxids.h"
#include "platform/qmx/core/qmxloglevel.h"
#include "platform/qmx/core/qmxtimecode.h"
#include "platform/qmx/stream/qmxstream.h"
#include "platform/qmx/stream/qmxstreampeer.h"
#include "platform/qmx/stream/streampair.h"
#include "platform/qmx/stream/streamreadahead.h"

#include <QPointer>

#include <deque>
#include <utility>

/// What is read is the read-ahead's; frames that are written stay here while the writer's queue has no room.
struct QmxStreamCache::Private : QmxStreamPeer
{
    explicit Private(QmxStreamCache *cache) : q(cache), reading(environment, [this] { scheduleReady(); }) {}

    bool isWriting() const { return stream && stream->isOpen() && stream->isWritable(); }
    bool lastOpenWrites() const { return openMode == QmxStream::Write; }
    void scheduleReady();
    bool isFull() const;
    void drop();
    void handOver(bool all);

    void openBegins(int open, int mode) override;
    void opened(int open) override;
    void openFailed(int open) override;
    void openDelivered(int open) override;
    void closeBegins(int mode) override;
    void framesRead(const QList<StreamReader::Result> &results) override;
    void grown() override { reading.grown(); }
    void roomCame() override;
    void writeFailed(const QmxError &error, bool fatal) override;
    void streamGone() override;

    const QmxEnvironment environment = QmxEnvironment::current();
    QmxStreamCache *const q;
    QmxStream *stream = nullptr;
    int openNumber = 0;
    int openMode = QmxStream::Read; ///< of the open asked for last
    bool readyPosted = false;
    StreamReadAhead reading;
    std::deque<QmxFrame> waiting; ///< for the writer
    int accepted = 0;             ///< frames written since the open
    qint64 dropped = 0;
    bool failed = false; ///< the medium has: nothing is taken any more
};

void QmxStreamCache::Private::scheduleReady()
{
    if (std::exchange(readyPosted, true)) return;
    QMetaObject::invokeMethod(
        q,
        [this] {
            readyPosted = false;
            emit q->ready();
        },
        Qt::QueuedConnection);
}

void QmxStreamCache::Private::openBegins(int open, int mode)
{
    openNumber = open;
    openMode = mode;
    if (mode == QmxStream::Write) {
        reading.closed();
        reading.forgetSeek();
        waiting.clear();
        accepted = 0;
        dropped = 0;
        failed = false;
    } else {
        reading.begin();
    }
}

void QmxStreamCache::Private::opened(int open)
{
    if (open != openNumber) return;
    if (!lastOpenWrites()) {
        reading.opened();
        return;
    }
    QmxCounters *counters = &environment.deck->counters;
    counters->set(QmxCounters::CurrentClipFrames, 0);
    counters->set(QmxCounters::RecordedUpTo, 0);
    const QList<QmxImageDesc> images = stream->info().vids();
    counters->set(QmxCounters::ClipRate,
                  images.isEmpty() ? 0 : qRound64(images.first().frameRate().toDouble() * 1000));
    // Last: whoever sees it sees the others of this take too.
    counters->add(QmxCounters::TakesOpened);
}

void QmxStreamCache::Private::openFailed(int open)
{
    if (open != openNumber) return;
    reading.forgetSeek();
    if (!lastOpenWrites()) reading.openFailed();
}

void QmxStreamCache::Private::openDelivered(int open)
{
    if (open != openNumber) return;
    if (lastOpenWrites())
        reading.forgetSeek();
    else
        reading.openDelivered();
}

void QmxStreamCache::Private::closeBegins(int mode)
{
    if (mode == QmxStream::Write)
        handOver(true);
    else
        reading.closed();
}

void QmxStreamCache::Private::framesRead(const QList<StreamReader::Result> &results)
{
    const QList<StreamReader::Result> errors = reading.take(results);
    const QPointer<QmxStreamCache> alive(q);
    for (const StreamReader::Result &result : errors) {
        emit q->error(result.frame, result.error);
        if (!alive) return;
    }
}

void QmxStreamCache::Private::roomCame()
{
    handOver(false);
    scheduleReady();
}

void QmxStreamCache::Private::writeFailed(const QmxError &error, bool fatal)
{
    if (fatal) {
        failed = true;
        dropped += qint64(waiting.size());
        environment.deck->counters.add(QmxCounters::FramesDroppedCapture, qint64(waiting.size()));
        waiting.clear();
    }
    emit q->error(accepted, error);
}

bool QmxStreamCache::Private::isFull() const
{
    return failed || int(waiting.size()) >= reading.size();
}

/// A frame came although there is no room.
void QmxStreamCache::Private::drop()
{
    if (dropped++ == 0)
        qmxLogOutput(QmxLogLevel::Error, "streamcache", __LINE__, "Frames are dropped: %s takes no more\n",
                     qPrintable(stream->path()));
    environment.deck->counters.add(QmxCounters::FramesDroppedCapture);
}

/// Gives the writer what it has room for, or everything.
void QmxStreamCache::Private::handOver(bool all)
{
    StreamPair *const writer = stream ? stream->writer() : nullptr;
    if (!writer) return;
    while (!waiting.empty() && (all || writer->hasRoom())) {
        writer->append(waiting.front());
        waiting.pop_front();
    }
    environment.deck->counters.set(QmxCounters::CacheFrames, qint64(waiting.size()));
}

void QmxStreamCache::Private::streamGone()
{
    stream = nullptr;
    reading.setStream(nullptr);
}

QmxStreamCache::QmxStreamCache(QObject *parent) : QObject(parent), d(std::make_unique<Private>(this)) {}

QmxStreamCache::~QmxStreamCache()
{
    setStream(nullptr);
}

void QmxStreamCache::setCacheSize(int frames)
{
    d->reading.setSize(frames);
}

void QmxStreamCache::setStream(QmxStream *stream)
{
    if (d->stream) {
        if (d->isWriting()) d->handOver(true);
        d->stream->setPeer(nullptr);
    }
    d->stream = stream;
    d->reading.setStream(stream);
    if (stream) stream->setPeer(d.get());
}

void QmxStreamCache::setSpeed(double speed)
{
    if (speed != 0.0) d->reading.setSpeed(speed);
}

int QmxStreamCache::position() const
{
    return d->lastOpenWrites() ? d->accepted : d->reading.position();
}

void QmxStreamCache::seek(int frame)
{
    if (!d->isWriting()) d->reading.seek(frame);
}

void QmxStreamCache::seekToFirstFrame()
{
    if (!d->isWriting()) d->reading.seekToFirstFrame();
}

void QmxStreamCache::seekToLastFrame()
{
    if (!d->isWriting()) d->reading.seekToLastFrame();
}

bool QmxStreamCache::atStartOfStream() const
{
    return d->reading.isBeforeStart();
}

bool QmxStreamCache::atEndOfStream() const
{
    return d->reading.isBehindEnd();
}

int QmxStreamCache::framesInCache() const
{
    return d->lastOpenWrites() ? int(d->waiting.size()) : d->reading.loaded();
}

QmxFrame QmxStreamCache::peek() const
{
    return d->reading.peek();
}

QmxFrame QmxStreamCache::read()
{
    return d->reading.read();
}

void QmxStreamCache::write(const QmxFrame &frame)
{
    if (!d->isWriting()) {
        qmxLogOutput(QmxLogLevel::Error, "streamcache", __LINE__,
                     "A frame was written to a stream that is not open for it\n");
        return;
    }
    if (cacheIsFull()) {
        d->drop();
        return;
    }
    // Before it is handed over: the timecode generator continues after this frame from now on.
    QmxDeck &deck = *d->environment.deck;
    deck.recordTable.frameWritten(
        d->stream->path(), frame.meta().value(QmxIds::timecode).value<QmxTimecode>(), d->accepted == 0);
    deck.counters.set(QmxCounters::CurrentClipFrames, ++d->accepted);
    d->waiting.push_back(frame);
    d->handOver(false);
}

bool QmxStreamCache::cacheIsFull() const
{
    return d->isWriting() ? d->isFull() : framesInCache() >= d->reading.size();
}

void QmxStreamCache::pushCachedToPending(int)
{
    if (d->isWriting()) d->handOver(true);
}
