// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/stream/qmxstream.h"

#include "platform/qmx/core/qmx.h"
#include "platform/qmx/core/qmxdeck.h"
#include "platform/qmx/stream/qmxplaylist.h"
#include "platform/qmx/stream/qmxplaylistindex.h"
#include "platform/qmx/stream/qmxstreamprivate.h"

namespace {

constexpr int typeQuickTime = 100;

const Qmx::ValueTypes registered([] {
    qRegisterMetaType<QmxPlayList>("QmxPlayList");
    qRegisterMetaType<QmxPlayListEntry>("QmxPlayListEntry");
    qRegisterMetaType<QmxPlayListIndex>("QmxPlayListIndex");
    qRegisterMetaType<QmxStreamInfo>("QmxStreamInfo");
    // Who knows nothing of play lists still reads which entry it is.
    if (!QMetaType::hasRegisteredConverterFunction<QmxPlayListIndex, int>())
        QMetaType::registerConverter<QmxPlayListIndex, int>(&QmxPlayListIndex::entryIndex);
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
    QmxStreamAsk ask;
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
    return d->current->reader()->read(frame, ++d->reads, user) ? d->reads : 0;
}

void QmxStream::flush()
{
    if (d->state == Private::State::Open && d->mode == Write) d->current->writer()->flush();
}

int QmxStream::pending() const
{
    if (!d->current) return 0;
    return d->current->reader() ? d->current->reader()->pending() : d->current->writer()->pending();
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
    return d->current ? d->current->reader() : nullptr;
}

StreamPair *QmxStream::writer() const
{
    return d->current ? d->current->writer() : nullptr;
}

QString QmxStream::path() const
{
    return d->current ? d->current->ask().path() : QString();
}
