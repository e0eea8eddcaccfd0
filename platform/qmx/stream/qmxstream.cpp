// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/stream/qmxstream.h"

#include "platform/qmx/core/qmx.h"
#include "platform/qmx/core/qmxdeck.h"
#include "platform/qmx/core/qmxids.h"
#include "platform/qmx/core/qmxloglevel.h"
#include "platform/qmx/stream/qmxplaylist.h"
#include "platform/qmx/stream/qmxplaylistindex.h"
#include "platform/qmx/stream/qmxstreamprivate.h"

#include <QPointer>

#include <utility>

namespace {

constexpr int typeQuickTime = 100;
/// A look whether a clip has grown costs two small reads of what lies in memory; each tick of it is one more
/// behind the recorder.
constexpr int growthIntervalMs = 40;
constexpr int watchIntervalMs = 500;

const Qmx::ValueTypes registered([] {
    qRegisterMetaType<QmxPlayList>("QmxPlayList");
    qRegisterMetaType<QmxPlayListEntry>("QmxPlayListEntry");
    qRegisterMetaType<QmxPlayListIndex>("QmxPlayListIndex");
    qRegisterMetaType<QmxStreamInfo>("QmxStreamInfo");
    // Who knows nothing of play lists still reads which entry it is, and where in the list (qmxFrameShown()).
    if (!QMetaType::hasRegisteredConverterFunction<QmxPlayListIndex, int>())
        QMetaType::registerConverter<QmxPlayListIndex, int>(&QmxPlayListIndex::entryIndex);
    if (!QMetaType::hasRegisteredConverterFunction<QmxPlayListIndex, qint64>())
        QMetaType::registerConverter<QmxPlayListIndex, qint64>(&QmxPlayListIndex::frame);
});

} // namespace

QmxStream::QmxStream(QObject *parent) : QObject(parent), d(std::make_unique<Private>(this)) {}

QmxStream::~QmxStream()
{
    d->end();
}

void QmxStream::setAutoType()
{
    d->type = QmxId();
}

void QmxStream::setType(const QmxId &type)
{
    d->type = type;
}

void QmxStream::setDesc(const QVariant &desc)
{
    d->desc = desc;
}

QVariant QmxStream::desc() const
{
    return d->desc;
}

bool QmxStream::hasDesc(const QVariant &desc) const
{
    return desc.isValid() && desc == d->desc;
}

void QmxStream::setInfo(const QmxStreamInfo &info)
{
    d->info = info;
}

QmxStreamInfo QmxStream::info() const
{
    return d->info;
}

bool QmxStream::open(int mode)
{
    const std::optional<StreamReaderSource> source = StreamReaderSource::fromDesc(d->desc);
    if (!source || (mode != Read && mode != Write) || (mode == Write && source->isList)) return false;
    if (mode == Write && d->type.isValid() && d->type.value() != typeQuickTime) return false;
    StreamAsk ask;
    ask.number = ++d->opens;
    ask.writes = mode == Write;
    ask.source = *source;
    ask.clip.image = d->info.vids().value(0);
    ask.clip.audio = d->info.auds().value(0);
    ask.clip.reelName = d->info.reelName();
    ask.clip.effectiveRate = d->info.effectiveFrameRate();
    if (ask.writes) {
        // Both copies say the same of themselves: so they are known as one clip.
        ask.clip.created = d->environment.clock->wallTime() / QmxClock::nsPerSecond;
        ask.mirrorFolder = d->environment.deck->takeOptions.values().mirrorMediaPath;
    }

    d->dropNext();
    if (!d->closeAsked) d->abandonCurrent();
    d->mode = mode;
    if (ask.writes) d->environment.deck->recordTable.streamOpening(ask.path());
    if (d->peer) d->peer->openBegins(ask.number, mode);
    if (d->closeAsked)
        d->next = ask;
    else
        d->begin(ask);
    return true;
}

void QmxStream::close()
{
    if (d->state != Private::State::Closed) d->askClose();
}

bool QmxStream::isOpen() const
{
    return d->state == Private::State::Open;
}

bool QmxStream::isOpening() const
{
    return d->state == Private::State::Opening;
}

bool QmxStream::isClosing() const
{
    return d->state == Private::State::Closing;
}

bool QmxStream::isClosed() const
{
    return d->state == Private::State::Closed;
}

bool QmxStream::isReadable() const
{
    return d->mode == Read;
}

bool QmxStream::isWritable() const
{
    return d->mode == Write;
}

int QmxStream::read(int frame, void *user)
{
    if (d->state != Private::State::Open || d->mode != Read) return 0;
    return d->reader->read(frame, ++d->reads, user) ? d->reads : 0;
}

void QmxStream::flush()
{
    if (d->state == Private::State::Open && d->mode == Write) d->writer->flush();
}

int QmxStream::pending() const
{
    if (d->reader) return d->reader->pending();
    return d->writer ? d->writer->pending() : 0;
}

void QmxStream::setBenchmarkEnable(bool on)
{
    *d->benchmarkOn = on;
}

void QmxStream::setPeer(QmxStreamPeer *peer)
{
    d->peer = peer;
}

StreamReader *QmxStream::reader() const
{
    return d->reader.get();
}

StreamPair *QmxStream::writer() const
{
    return d->writer.get();
}

QString QmxStream::path() const
{
    return d->hasCurrent() ? d->ask.path() : QString();
}

QmxStream::Private::Private(QmxStream *stream) : q(stream)
{
    for (QTimer *once : {&deadline, &aheadTime})
        once->setSingleShot(true);
    QObject::connect(&deadline, &QTimer::timeout, q, [this] { deadlineReached(); });
    QObject::connect(&aheadTime, &QTimer::timeout, q, [this] { dropAhead(); });
    QObject::connect(&watch, &QTimer::timeout, q, [this] { watchReader(); });
    QObject::connect(&growth, &QTimer::timeout, q, [this] {
        if (reader && reader->isGrowing())
            reader->refresh();
        else
            growth.stop();
    });
}

void QmxStream::Private::begin(const StreamAsk &of)
{
    ask = of;
    state = State::Opening;
    closeAsked = false;
    setToken(QStringLiteral("opening %1").arg(ask.what()));
    // Whatever the operator has made of the alarm of the operation before: the next failure is news.
    if (ask.writes || ask.path() != brokenOff) brokenOff.clear();
    if (peer && brokenOff.isEmpty())
        postAlarm(ask.writes ? QmxIds::alarmMediaWriteFailed : QmxIds::alarmMediaReadFailed, QmxAlarm::Clear,
                  QString());
    openedEarly = continuesTake(ask);
    if (openedEarly) {
        beginJoined();
        return;
    }
    if (ask.writes && peer) postAlarm(QmxIds::alarmMirrorLost, QmxAlarm::Clear, QString());
    dropAhead();
    percentFree = 100;
    deadline.start(operationLimit);
    if (ask.writes) {
        writer = makeWriter(ask);
        writer->open();
    } else {
        makeReader();
        reader->open();
    }
}

std::unique_ptr<StreamPair> QmxStream::Private::makeWriter(const StreamAsk &of)
{
    return std::make_unique<StreamPair>(of, this, q, benchmarkOn, environment);
}

void QmxStream::Private::makeReader()
{
    StreamReader::Events events;
    events.opened = [this](const QmxError &error, const QmxStreamInfo &told) { readerOpened(error, told); };
    events.closed = [this] { closeDone(); };
    events.results = [this] { readerResults(); };
    events.grown = [this](const QString &ended) { readerGrown(ended); };
    stalled = false;
    // The same clip once more, as after a change of the medium: its take is as long as it was.
    if (ask.source.isList || ask.path() != followedOf) followed.clear();
    ask.source.sequels = followed;
    reader = StreamActor::make<StreamReader>(ask.source, events, q, environment);
}

void QmxStream::Private::writerOpened(StreamPair *of, const QmxError &error)
{
    if (of == ahead.get()) {
        if (error.isError()) {
            refused = of->ask().path();
            qmxLogOutput(QmxLogLevel::Warning, logSource, __LINE__, "The take cannot go on in %s: %s\n",
                         qPrintable(refused), qPrintable(error.toString()));
            postAlarm(
                QmxIds::alarmMediaWriteFailed, QmxAlarm::Warning,
                QStringLiteral("The take cannot go on when its medium is full: %1").arg(error.toString()));
            ahead.reset();
        }
    } else if (of != writer.get()) {
        if (error.isError()) forget(of); // no close follows
    } else if (openedEarly && state != State::Opening) {
        openedLate(error);
    } else if (!ask.cancelled) {
        openDone(ask, error, {});
    } else if (error.isError()) {
        // No close follows; but the cancelled open is still to be answered before it.
        post([this, of] { writerClosed(of, {}); });
    }
}

void QmxStream::Private::readerOpened(const QmxError &error, const QmxStreamInfo &told)
{
    if (reader->isGrowing()) growth.start(growthIntervalMs);
    if (!error.isError()) watch.start(watchIntervalMs);
    if (!ask.cancelled)
        openDone(ask, error, told);
    else if (error.isError())
        // No close follows; but the cancelled open is still to be answered before it.
        post([this, number = ask.number] {
            if (reader && ask.number == number) closeDone();
        });
}

void QmxStream::Private::openDone(StreamAsk of, QmxError error, const QmxStreamInfo &told)
{
    if (!writer || writer->isFileOpen()) deadline.stop();
    const QmxOperations::Token held = std::move(token); // until everybody has heard of it
    const QmxId alarm = of.writes ? QmxIds::alarmMediaWriteFailed : QmxIds::alarmMediaReadFailed;
    if (error.isError()) {
        deadline.stop();
        letCurrentGo();
        state = State::Closed;
        mode = 0;
        qmxLogOutput(QmxLogLevel::Error, logSource, __LINE__, "Opening %s failed: %s\n",
                     qPrintable(of.what()), qPrintable(error.toString()));
        if (peer)
            postAlarm(alarm, of.writes ? QmxAlarm::Error : QmxAlarm::Warning,
                      QStringLiteral("%1 cannot be opened: %2").arg(of.what(), error.toString()));
        tellOpenFailed(of, error);
        return;
    }
    state = State::Open;
    if (!of.writes) info = told;
    if (peer) {
        if (brokenOff.isEmpty()) postAlarm(alarm, QmxAlarm::Clear, QString());
        peer->opened(of.number);
    }
    const QPointer<QmxStream> alive(q);
    emit q->openIsDone(of.number, QmxError());
    if (alive && opens == of.number && peer) peer->openDelivered(of.number);
}

void QmxStream::Private::tellOpenFailed(const StreamAsk &of, const QmxError &error)
{
    if (of.number == opens) info = QmxStreamInfo(); // else it is that of the open that waits
    if (of.writes) environment.deck->recordTable.streamOpenFailed(of.path());
    if (peer) peer->openFailed(of.number);
    emit q->openIsDone(of.number, error);
}

/// Not from inside the call that asks for it, and not any more when the stream has gone.
void QmxStream::Private::post(std::function<void()> later)
{
    QMetaObject::invokeMethod(q, std::move(later), Qt::QueuedConnection);
}

void QmxStream::Private::postAlarm(QmxId id, QmxAlarm::AlarmLevel level, const QString &text) const
{
    environment.deck->alarms.post(QmxAlarm(id, level, text, QString::fromLatin1(logSource), __LINE__));
}
