// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/stream/qmxstreamcache.h"

#include "platform/qmx/core/qmxalarmcontroller.h"
#include "platform/qmx/core/qmxcounters.h"
#include "platform/qmx/core/qmxlog.h"
#include "platform/qmx/core/qmxmemorypool.h"
#include "platform/qmx/core/qmxplayhead.h"
#include "platform/qmx/core/qmxrecordtable.h"
#include "platform/qmx/stream/qmxstream.h"
#include "platform/qmx/stream/qmxstreamcadence.h"
#include "platform/qmx/stream/qmxstreampeer.h"
#include "platform/qmx/stream/streamreaderkeys.h"
#include "platform/qmx/stream/streamwriter.h"

#include <QHash>
#include <QPointer>

#include <cstdlib>
#include <deque>
#include <limits>
#include <optional>
#include <utility>

namespace {

constexpr const char *logSource = "streamcache";
constexpr int defaultSize = 25;
/// Frames around the position that are kept although they have been left, for steps to and fro.
constexpr int keptNear = 5;
/// The cache's share of the pool, and how many frames it may have however large they are.
constexpr int poolShare = 6;
constexpr int minimumFrames = 4;
constexpr int unknownLength = std::numeric_limits<int>::max();
constexpr int alarmReadFailed = 1903;

void postReadAlarm(QmxAlarm::AlarmLevel level, const QString &text)
{
    QmxAlarmController::post(
        QmxAlarm(QmxId(alarmReadFailed), level, text, QString::fromLatin1(logSource), __LINE__));
}

} // namespace

struct QmxStreamCache::Private : QmxStreamPeer
{
    struct KeptSeek
    {
        int frame = 0;
        bool toLast = false;
    };

    explicit Private(QmxStreamCache *cache) : q(cache) {}

    bool isReading() const { return stream && stream->isOpen() && stream->isReadable(); }
    bool isWriting() const { return stream && stream->isOpen() && stream->isWritable(); }
    int position() const { return cadence.position(length); }
    int window() const;
    void seek(const KeptSeek &to);
    void moved();
    void fill();
    void dropFar(const QList<int> &upcoming);
    void scheduleReady();
    void handOver(bool all);

    void openBegins(int open, int mode) override;
    void opened(int open) override;
    void openFailed(int open) override;
    void openDelivered(int open) override;
    void closeBegins(int mode) override;
    void framesRead(const QList<StreamReader::Result> &results) override;
    void grown() override;
    void roomCame() override;
    void writeFailed(const QmxError &error, bool fatal) override;
    void streamGone() override { stream = nullptr; }

    QmxStreamCache *const q;
    QmxStream *stream = nullptr;
    int size = defaultSize;
    int openNumber = 0;
    int openMode = QmxStream::Read; ///< of the open asked for last
    bool readyPosted = false;

    // Reading.
    QmxStreamCadence cadence;
    int length = unknownLength;
    std::optional<KeptSeek> kept;
    QHash<int, QmxFrame> frames;
    qint64 largestFrame = 0;
    quint64 origin = 0;
    bool inBadRun = false;    ///< the frame before could not be read
    bool alarmRaised = false; ///< for a frame of this stream

    // Writing.
    std::deque<QmxFrame> waiting;
    int accepted = 0;
    qint64 dropped = 0;
    bool failed = false;
};

/// How many frames ahead; fewer when they are so large that the pool would suffer.
int QmxStreamCache::Private::window() const
{
    if (largestFrame == 0) return size;
    QmxMemoryPool::UsageData usage;
    QmxMemoryPool::instance()->getUsageData(usage);
    const qint64 fitting = qint64(usage.totalSize) / poolShare / largestFrame;
    return int(qBound(qint64(qMin(size, minimumFrames)), fitting, qint64(size)));
}

void QmxStreamCache::Private::seek(const KeptSeek &to)
{
    if (!isReading()) {
        if (!isWriting()) kept = to;
        return;
    }
    cadence.seek(to.toLast ? length - 1 : qBound(-1, to.frame, length));
    inBadRun = false;
    moved();
    // Also when the frame was there already: whoever has sought plays it now and not a tick later.
    if (frames.contains(position()) || q->atStartOfStream() || q->atEndOfStream()) scheduleReady();
}

void QmxStreamCache::Private::moved()
{
    // Past an end the frame at that end is the one that comes next.
    QmxPlayhead::instance()->setPosition(qBound(0, position(), qMax(0, length - 1)));
    fill();
}

/// Asks for what is missing in the direction of travel, and lets go what has been left.
void QmxStreamCache::Private::fill()
{
    if (!isReading()) return;
    const QList<int> upcoming = cadence.upcoming(window(), length);
    dropFar(upcoming);
    QList<int> missing;
    for (const int frame : upcoming)
        if (!frames.contains(frame)) missing.append(frame);
    stream->reader()->want(missing);
    QmxCounters::instance()->set(QmxCounters::CacheFrames, frames.size());
}

void QmxStreamCache::Private::dropFar(const QList<int> &upcoming)
{
    const int here = position();
    frames.removeIf([&upcoming, here](const QHash<int, QmxFrame>::iterator &item) {
        return std::abs(item.key() - here) > keptNear && !upcoming.contains(item.key());
    });
}

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
    frames.clear();
    largestFrame = 0;
    inBadRun = false;
    alarmRaised = false;
    if (mode == QmxStream::Write) {
        kept.reset();
        waiting.clear();
        accepted = 0;
        dropped = 0;
        failed = false;
        return;
    }
    length = unknownLength;
    cadence.seek(0);
    origin = QmxPlayhead::instance()->openBegins();
    QmxPlayhead::instance()->setPosition(0);
}

void QmxStreamCache::Private::opened(int open)
{
    if (open != openNumber) return;
    if (openMode == QmxStream::Read) {
        length = stream->reader()->length();
        return;
    }
    QmxCounters *counters = QmxCounters::instance();
    counters->set(QmxCounters::CurrentClipFrames, 0);
    const QList<QmxImageDesc> images = stream->info().vids();
    counters->set(QmxCounters::ClipRate,
                  images.isEmpty() ? 0 : qRound64(images.first().frameRate().toDouble() * 1000));
    // Last: whoever sees it sees the others of this take too.
    counters->add(QmxCounters::TakesOpened);
}

void QmxStreamCache::Private::openFailed(int open)
{
    if (open != openNumber) return;
    kept.reset();
    if (openMode == QmxStream::Read) QmxPlayhead::instance()->openFails(origin);
}

/// What was asked for before the stream was open comes after what the receivers of openIsDone did, and so
/// wins over it.
void QmxStreamCache::Private::openDelivered(int open)
{
    if (open != openNumber) return;
    if (openMode == QmxStream::Write) {
        kept.reset();
        return;
    }
    if (isReading()) {
        moved();
        QmxPlayhead::instance()->settle();
        if (kept) seek(*std::exchange(kept, std::nullopt));
    }
    QmxPlayhead::instance()->openEnds(origin);
}

void QmxStreamCache::Private::closeBegins(int mode)
{
    if (mode == QmxStream::Write)
        handOver(true);
    else
        frames.clear();
}

void QmxStreamCache::Private::framesRead(const QList<StreamReader::Result> &results)
{
    if (!isReading()) return;
    const QList<int> upcoming = cadence.upcoming(window(), length);
    QList<StreamReader::Result> errors;
    bool readable = false;
    bool came = false;
    for (const StreamReader::Result &result : results) {
        if (!upcoming.contains(result.frame)) continue;
        QmxFrame frame = result.data;
        frame.setOrigin(origin);
        frames.insert(result.frame, frame);
        largestFrame = qMax(largestFrame, frame.bytes());
        came = true;
        const bool inRun = std::exchange(inBadRun, result.error.isError());
        if (!result.error.isError())
            readable = true;
        else if (!inRun)
            errors.append(result);
    }
    if (came) scheduleReady();
    fill();
    if (readable && errors.isEmpty() && std::exchange(alarmRaised, false))
        postReadAlarm(QmxAlarm::Clear, QString());
    const QPointer<QmxStreamCache> alive(q);
    for (const StreamReader::Result &result : std::as_const(errors)) {
        alarmRaised = true;
        postReadAlarm(QmxAlarm::Warning, result.error.toString());
        emit q->error(result.frame, result.error);
        if (!alive) return;
    }
}

/// The clip that is being read has become longer: what was its last frame is so no longer.
void QmxStreamCache::Private::grown()
{
    if (!isReading()) return;
    length = stream->reader()->length();
    for (auto item = frames.begin(); item != frames.end(); ++item) {
        const bool last = item.key() == length - 1;
        if (std::as_const(item.value()).meta().value(StreamReaderKeys::lastFrame).toBool() != last)
            item.value().meta().insert(StreamReaderKeys::lastFrame, last);
    }
    fill();
    scheduleReady();
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
        waiting.clear();
    }
    emit q->error(accepted, error);
}

void QmxStreamCache::Private::handOver(bool all)
{
    StreamWriter *writer = stream ? stream->writer() : nullptr;
    if (!writer) return;
    while (!waiting.empty() && (all || writer->hasRoom())) {
        writer->append(waiting.front());
        waiting.pop_front();
    }
    QmxCounters::instance()->set(QmxCounters::CacheFrames, qint64(waiting.size()));
}

QmxStreamCache::QmxStreamCache(QObject *parent) : QObject(parent), d(std::make_unique<Private>(this)) {}

QmxStreamCache::~QmxStreamCache()
{
    setStream(nullptr);
}

void QmxStreamCache::setCacheSize(int frames)
{
    d->size = qMax(1, frames);
    d->fill();
}

void QmxStreamCache::setStream(QmxStream *stream)
{
    if (d->stream) {
        if (d->isWriting()) d->handOver(true);
        d->stream->setPeer(nullptr);
    }
    d->stream = stream;
    if (stream) stream->setPeer(d.get());
}

void QmxStreamCache::setSpeed(double speed)
{
    if (speed == 0.0) return;
    d->cadence.setSpeed(speed, d->length);
    d->fill();
}

int QmxStreamCache::position() const
{
    return d->openMode == QmxStream::Write ? d->accepted : d->position();
}

void QmxStreamCache::seek(int frame)
{
    d->seek({frame, false});
}

void QmxStreamCache::seekToFirstFrame()
{
    d->seek({0, false});
}

void QmxStreamCache::seekToLastFrame()
{
    d->seek({0, true});
}

bool QmxStreamCache::atStartOfStream() const
{
    return d->isReading() && d->position() < 0;
}

bool QmxStreamCache::atEndOfStream() const
{
    return d->isReading() && d->position() >= d->length;
}

int QmxStreamCache::framesInCache() const
{
    if (d->openMode == QmxStream::Write) return int(d->waiting.size());
    if (!d->isReading()) return 0;
    int count = 0;
    const QList<int> upcoming = d->cadence.upcoming(d->size, d->length);
    while (count < upcoming.size() && d->frames.contains(upcoming.at(count)))
        ++count;
    return count;
}

QmxFrame QmxStreamCache::peek() const
{
    if (!d->isReading() || atStartOfStream() || atEndOfStream()) return {};
    const auto loaded = d->frames.constFind(d->position());
    if (loaded != d->frames.constEnd()) return *loaded;
    QmxFrame frame;
    frame.meta() = d->stream->reader()->meta(d->position());
    frame.setOrigin(d->origin);
    return frame;
}

QmxFrame QmxStreamCache::read()
{
    const QmxFrame frame = peek();
    if (d->isReading() && d->frames.contains(d->position())) {
        ++d->cadence.reads;
        d->moved();
        QmxPlayhead::instance()->settle();
    }
    return frame;
}

void QmxStreamCache::write(const QmxFrame &frame)
{
    if (!d->isWriting()) {
        qmxLogOutput(1, logSource, __LINE__, "A frame was written to a stream that is not open for it\n");
        return;
    }
    if (cacheIsFull()) {
        if (d->dropped++ == 0)
            qmxLogOutput(1, logSource, __LINE__, "Frames are dropped: %s takes no more\n",
                         qPrintable(d->stream->path()));
        QmxCounters::instance()->add(QmxCounters::FramesDroppedCapture);
        return;
    }
    // Before it is handed over: the timecode generator continues after this frame from now on.
    QmxRecordTable::instance()->frameWritten(
        d->stream->path(), frame.meta().value(StreamReaderKeys::timecode).value<QmxTimecode>(),
        d->accepted == 0);
    ++d->accepted;
    QmxCounters::instance()->set(QmxCounters::CurrentClipFrames, d->accepted);
    d->waiting.push_back(frame);
    d->handOver(false);
}

bool QmxStreamCache::cacheIsFull() const
{
    if (d->isWriting()) return d->failed || int(d->waiting.size()) >= d->size;
    return framesInCache() >= d->size;
}

void QmxStreamCache::pushCachedToPending(int)
{
    if (d->isWriting()) d->handOver(true);
}
