// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/stream/qmxstream.h"

#include "platform/qmx/core/qmxalarmcontroller.h"
#include "platform/qmx/core/qmxcounters.h"
#include "platform/qmx/core/qmxlog.h"
#include "platform/qmx/core/qmxrecordfailures.h"
#include "platform/qmx/core/qmxrecordtable.h"
#include "platform/qmx/stream/qmxstreampeer.h"
#include "platform/qmx/stream/qmxstreamsession.h"

#include <QPointer>

#include <cerrno>
#include <list>
#include <optional>
#include <utility>

namespace {

constexpr const char *logSource = "stream";
/// An open or close that takes longer hangs in the kernel; ten seconds are promised.
constexpr int operationLimitMs = 9500;
constexpr int typeQuickTime = 100;
constexpr int alarmWriteFailed = 1901;
constexpr int alarmReadFailed = 1903;

void postAlarm(int id, QmxAlarm::AlarmLevel level, const QString &text)
{
    QmxAlarmController::post(QmxAlarm(QmxId(id), level, text, QString::fromLatin1(logSource), __LINE__));
}

} // namespace

struct QmxStream::Private : QmxStreamSession::Receiver
{
    enum class State { Closed, Opening, Open, Closing };

    explicit Private(QmxStream *stream);

    // What the calls ask for.
    void begin(const QmxStreamAsk &ask);
    void abandonCurrent();
    void dropNext();
    void cancelOpening();
    void beginClosing();
    void end();
    void askClose();
    // How it comes out. What emits may find the stream destroyed or doing something else afterwards.
    void openDone(const QmxStreamAsk &ask, const QmxError &error, const QmxStreamInfo &told);
    void closeDone();
    void deadlineReached();
    void tellOpenFailed(const QmxStreamAsk &ask, const QmxError &error);

    void sessionOpened(QmxStreamSession *session, const QmxError &error, const QmxStreamInfo &told) override;
    void sessionClosed(QmxStreamSession *session) override;
    void sessionResults(QmxStreamSession *session) override;
    void sessionGrown(QmxStreamSession *session) override;
    void sessionRoom(QmxStreamSession *session) override;
    void sessionFailed(QmxStreamSession *session, const QmxError &error, bool fatal) override;
    void sessionWrote(qint64 microseconds) override;
    void forget(QmxStreamSession *session);
    void setToken(const QString &doing) { token = QmxOperations::instance()->begin(doing); }

    QmxStream *const q;
    const QmxEnvironment environment = QmxEnvironment::current();
    QmxStreamPost post;
    QmxStreamPeer *peer = nullptr;

    QVariant desc;
    QmxId type;
    QmxStreamInfo info;
    int mode = 0;            ///< asked for; 0 once close() has been called
    bool closeAsked = false; ///< from close() until closeIsDone
    int opens = 0;
    int reads = 0;
    std::shared_ptr<std::atomic<bool>> benchmarkOn = std::make_shared<std::atomic<bool>>(false);

    State state = State::Closed;
    std::unique_ptr<QmxStreamSession> current;
    std::optional<QmxStreamAsk> next; ///< waits until the close under way is done
    /// Record streams that were abandoned: they still write what they have, and close.
    std::list<std::unique_ptr<QmxStreamSession>> leaving;
    QmxOperations::Token token; ///< of the open or close in progress
    QTimer deadline;
};

QmxStream::Private::Private(QmxStream *stream) : q(stream), post(stream)
{
    deadline.setSingleShot(true);
    QObject::connect(&deadline, &QTimer::timeout, q, [this] { deadlineReached(); });
}

void QmxStream::Private::begin(const QmxStreamAsk &ask)
{
    state = State::Opening;
    closeAsked = false;
    setToken(QStringLiteral("opening %1").arg(ask.what()));
    current = std::make_unique<QmxStreamSession>(ask, q, this, benchmarkOn, environment);
    deadline.start(operationLimitMs);
    current->open();
}

/// An open over what is open or opening: the former is not heard of again.
void QmxStream::Private::abandonCurrent()
{
    if (!current) return;
    deadline.stop();
    if (peer) peer->closeBegins(current->ask().writes ? Write : Read);
    if (current->ask().writes) {
        if (state == State::Opening) QmxRecordTable::instance()->streamOpenFailed(current->ask().path());
        current->setCancelled();
        current->close();
        leaving.push_back(std::move(current));
    }
    current.reset();
    state = State::Closed;
}

void QmxStream::Private::dropNext()
{
    if (next && next->writes) QmxRecordTable::instance()->streamOpenFailed(next->path());
    next.reset();
}

void QmxStream::Private::askClose()
{
    mode = 0;
    if (closeAsked || !current) {
        // Under way already, or between the close before and the open that waits for it.
        if (next && !next->cancelled) {
            next->cancelled = true;
            if (peer) peer->closeBegins(next->writes ? Write : Read);
        }
        return;
    }
    closeAsked = true;
    if (state == State::Opening)
        cancelOpening();
    else
        beginClosing();
}

/// A close before the open is done: both are answered, in that order.
void QmxStream::Private::cancelOpening()
{
    current->setCancelled();
    if (peer) peer->closeBegins(current->ask().writes ? Write : Read);
    post.post([this, ask = current->ask()] {
        state = State::Closing;
        tellOpenFailed(ask, QmxError(ECANCELED));
    });
    setToken(QStringLiteral("closing %1").arg(current->ask().what()));
    deadline.start(operationLimitMs);
    current->close();
}

void QmxStream::Private::beginClosing()
{
    state = State::Closing;
    setToken(QStringLiteral("closing %1").arg(current->ask().what()));
    if (peer) peer->closeBegins(current->ask().writes ? Write : Read);
    current->close();
    deadline.start(operationLimitMs);
}

void QmxStream::Private::end()
{
    post.detach();
    deadline.stop();
    if (peer) {
        if (state == State::Open) peer->closeBegins(current->ask().writes ? Write : Read);
        std::exchange(peer, nullptr)->streamGone();
    }
    dropNext();
    if (current && current->ask().writes) {
        if (state == State::Opening)
            QmxRecordTable::instance()->streamOpenFailed(current->ask().path());
        else
            QmxRecordTable::instance()->streamClosed(current->ask().path());
    }
}

void QmxStream::Private::openDone(const QmxStreamAsk &ask, const QmxError &error, const QmxStreamInfo &told)
{
    deadline.stop();
    const QmxOperations::Token held = std::move(token); // until everybody has heard of it
    const int alarm = ask.writes ? alarmWriteFailed : alarmReadFailed;
    if (error.isError()) {
        current.reset();
        state = State::Closed;
        mode = 0;
        qmxLogOutput(1, logSource, __LINE__, "Opening %s failed: %s\n", qPrintable(ask.what()),
                     qPrintable(error.toString()));
        if (peer)
            postAlarm(alarm, ask.writes ? QmxAlarm::Error : QmxAlarm::Warning,
                      QStringLiteral("%1 cannot be opened: %2").arg(ask.what(), error.toString()));
        tellOpenFailed(ask, error);
        return;
    }
    state = State::Open;
    if (!ask.writes) info = told;
    if (peer) {
        postAlarm(alarm, QmxAlarm::Clear, QString());
        peer->opened(ask.number);
    }
    const QPointer<QmxStream> alive(q);
    emit q->openIsDone(ask.number, QmxError());
    if (alive && opens == ask.number && peer) peer->openDelivered(ask.number);
}

void QmxStream::Private::tellOpenFailed(const QmxStreamAsk &ask, const QmxError &error)
{
    info = QmxStreamInfo();
    if (ask.writes) QmxRecordTable::instance()->streamOpenFailed(ask.path());
    if (peer) peer->openFailed(ask.number);
    emit q->openIsDone(ask.number, error);
}

void QmxStream::Private::closeDone()
{
    deadline.stop();
    if (current && current->ask().writes && !current->isCancelled())
        QmxRecordTable::instance()->streamClosed(current->ask().path());
    current.reset();
    closeAsked = false;
    state = next ? State::Opening : State::Closed;
    const QmxOperations::Token held = std::move(token);
    const QPointer<QmxStream> alive(q);
    emit q->closeIsDone();
    // A receiver may have opened something else, or closed what waits.
    if (!alive || state != State::Opening || current || !next) return;
    const QmxStreamAsk ask = *std::exchange(next, std::nullopt);
    if (!ask.cancelled) {
        begin(ask);
        return;
    }
    closeAsked = true;
    state = State::Closing;
    post.post([this] { closeDone(); });
    tellOpenFailed(ask, QmxError(ECANCELED));
}

void QmxStream::Private::deadlineReached()
{
    if (!current) return;
    const QmxStreamAsk ask = current->ask();
    const QmxError error(
        ETIMEDOUT,
        QStringLiteral("%1: the medium does not answer, check whether it is still there").arg(ask.what()));
    current->abandon();
    if (state == State::Opening) {
        openDone(ask, error, {});
        return;
    }
    qmxLogOutput(1, logSource, __LINE__, "Closing %s given up: the medium does not answer\n",
                 qPrintable(ask.what()));
    if (ask.writes) postAlarm(alarmWriteFailed, QmxAlarm::Error, error.toString());
    closeDone();
}

void QmxStream::Private::sessionOpened(QmxStreamSession *session, const QmxError &error,
                                       const QmxStreamInfo &told)
{
    if (session != current.get()) {
        if (error.isError()) forget(session); // no close follows
    } else if (!session->isCancelled()) {
        openDone(session->ask(), error, told);
    } else if (error.isError()) {
        // No close follows; but the cancelled open is still to be answered before it.
        post.post([this, session] { sessionClosed(session); });
    }
}

void QmxStream::Private::sessionClosed(QmxStreamSession *session)
{
    if (session == current.get())
        closeDone();
    else
        forget(session);
}

void QmxStream::Private::forget(QmxStreamSession *session)
{
    for (auto it = leaving.begin(); it != leaving.end(); ++it) {
        if (it->get() != session) continue;
        QmxRecordTable::instance()->streamClosed(session->ask().path());
        leaving.erase(it);
        return;
    }
}

void QmxStream::Private::sessionResults(QmxStreamSession *session)
{
    if (session != current.get()) return;
    const QList<StreamReader::Result> results = session->reader()->takeResults();
    QList<StreamReader::Result> wished;
    for (const StreamReader::Result &result : results)
        if (result.request == 0) wished.append(result);
    const QPointer<QmxStream> alive(q);
    if (peer && !wished.isEmpty()) peer->framesRead(wished);
    for (const StreamReader::Result &result : results) {
        if (!alive || current.get() != session) return; // a receiver has gone on to something else
        if (result.request > 0) emit q->readIsDone(result.frame, result.data, result.error, result.user);
        if (alive && *benchmarkOn) sessionWrote(result.microseconds);
    }
}

void QmxStream::Private::sessionGrown(QmxStreamSession *session)
{
    if (session == current.get() && peer) peer->grown();
}

void QmxStream::Private::sessionRoom(QmxStreamSession *session)
{
    if (session == current.get() && peer) peer->roomCame();
}

void QmxStream::Private::sessionFailed(QmxStreamSession *session, const QmxError &error, bool fatal)
{
    QmxCounters::instance()->add(QmxCounters::WriteErrors);
    const QString path = session->ask().path();
    qmxLogOutput(1, logSource, __LINE__, "Writing %s failed: %s\n", qPrintable(path),
                 qPrintable(error.toString()));
    postAlarm(alarmWriteFailed, QmxAlarm::Error, error.toString());
    if (session != current.get()) return;
    const QPointer<QmxStream> alive(q);
    if (peer) peer->writeFailed(error, fatal);
    // Whoever records ends the take now: the last thing, since that closes this stream.
    if (alive && fatal && state == State::Open && current.get() == session)
        QmxRecordFailures::instance()->report(path, error);
}

void QmxStream::Private::sessionWrote(qint64 microseconds)
{
    emit q->benchmark(int(microseconds), QmxTimeStamp::getCurrent());
}

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
    QmxStreamInfo info = d->info;
    if (d->state == Private::State::Open && d->current->reader())
        info.setLength(d->current->reader()->length());
    return info;
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

    d->dropNext();
    if (!d->closeAsked) d->abandonCurrent();
    d->mode = mode;
    if (ask.writes) QmxRecordTable::instance()->streamOpening(ask.path());
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

StreamWriter *QmxStream::writer() const
{
    return d->current ? d->current->writer() : nullptr;
}

QString QmxStream::path() const
{
    return d->current ? d->current->ask().path() : QString();
}
