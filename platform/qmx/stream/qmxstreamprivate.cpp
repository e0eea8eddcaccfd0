// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/stream/qmxstreamprivate.h"

#include "platform/qmx/core/qmxalarmcontroller.h"
#include "platform/qmx/core/qmxdeck.h"
#include "platform/qmx/core/qmxids.h"
#include "platform/qmx/core/qmxlog.h"

#include <QPointer>

#include <cerrno>
#include <utility>

namespace {

constexpr const char *logSource = "stream";
/// An open or close that takes longer hangs in the kernel; ten seconds are promised.
constexpr int operationLimitMs = 9500;

void postAlarm(QmxId id, QmxAlarm::AlarmLevel level, const QString &text)
{
    QmxAlarmController::post(QmxAlarm(id, level, text, QString::fromLatin1(logSource), __LINE__));
}

} // namespace

QmxStream::Private::Private(QmxStream *stream) : q(stream), post(stream)
{
    deadline.setSingleShot(true);
    QObject::connect(&deadline, &QTimer::timeout, q, [this] { deadlineReached(); });
    aheadTime.setSingleShot(true);
    QObject::connect(&aheadTime, &QTimer::timeout, q, [this] { dropAhead(); });
}

void QmxStream::Private::begin(const QmxStreamAsk &ask)
{
    state = State::Opening;
    closeAsked = false;
    setToken(QStringLiteral("opening %1").arg(ask.what()));
    // Whatever the operator has made of the alarm of the operation before: the next failure is news.
    if (peer)
        postAlarm(ask.writes ? QmxIds::alarmMediaWriteFailed : QmxIds::alarmMediaReadFailed, QmxAlarm::Clear,
                  QString());
    openedEarly = continuesTake(ask);
    if (openedEarly) {
        beginJoined(ask);
        return;
    }
    if (ask.writes && peer) postAlarm(QmxIds::alarmMirrorLost, QmxAlarm::Clear, QString());
    dropAhead();
    percentFree = 100;
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
        if (state == State::Opening) environment.deck->recordTable.streamOpenFailed(current->ask().path());
        current->setCancelled();
        current->close();
        leaving.push_back(std::move(current));
    }
    current.reset();
    state = State::Closed;
}

void QmxStream::Private::dropNext()
{
    if (next && next->writes) environment.deck->recordTable.streamOpenFailed(next->path());
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
    if (current->ask().writes) {
        takeOfClosed = environment.deck->recordTable.take();
        if (current->isDead() || isAtJoin()) {
            letGo();
            return;
        }
        dropAhead();
    }
    pendingAtClose = current->writer() ? current->writer()->pending() : 0;
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
            environment.deck->recordTable.streamOpenFailed(current->ask().path());
        else
            environment.deck->recordTable.streamClosed(current->ask().path());
    }
}

void QmxStream::Private::openDone(QmxStreamAsk ask, QmxError error, const QmxStreamInfo &told)
{
    if (current && current->isFileOpen()) deadline.stop();
    const QmxOperations::Token held = std::move(token); // until everybody has heard of it
    const QmxId alarm = ask.writes ? QmxIds::alarmMediaWriteFailed : QmxIds::alarmMediaReadFailed;
    if (error.isError()) {
        deadline.stop();
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
    if (ask.number == opens) info = QmxStreamInfo(); // else it is that of the open that waits
    if (ask.writes) environment.deck->recordTable.streamOpenFailed(ask.path());
    if (peer) peer->openFailed(ask.number);
    emit q->openIsDone(ask.number, error);
}

void QmxStream::Private::closeDone()
{
    deadline.stop();
    if (current && current->ask().writes && !current->isCancelled())
        environment.deck->recordTable.streamClosed(current->ask().path());
    letGoOfClosed();
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
    // What a take began with may need longer to be written than is promised of a take without.
    if (StreamPair *writer = current->writer(); state == State::Closing && writer && writer->hasBacklog()) {
        if (const int pending = writer->pending(); pending < pendingAtClose) {
            pendingAtClose = pending;
            deadline.start(operationLimitMs);
            return;
        }
    }
    const QmxError error(
        ETIMEDOUT,
        QStringLiteral("%1: the medium does not answer, check whether it is still there").arg(ask.what()));
    current->abandon();
    if (state == State::Opening) {
        openDone(ask, error, {});
        return;
    }
    if (state == State::Open) {
        openedLate(error);
        return;
    }
    qmxLogOutput(1, logSource, __LINE__, "Closing %s given up: the medium does not answer\n",
                 qPrintable(ask.what()));
    if (ask.writes) postAlarm(QmxIds::alarmMediaWriteFailed, QmxAlarm::Error, error.toString());
    closeDone();
}

void QmxStream::Private::sessionOpened(QmxStreamSession *session, const QmxError &error,
                                       const QmxStreamInfo &told)
{
    if (session == ahead.get()) {
        if (error.isError()) {
            refused = session->ask().path();
            qmxLogOutput(2, logSource, __LINE__, "The take cannot go on in %s: %s\n", qPrintable(refused),
                         qPrintable(error.toString()));
            postAlarm(
                QmxIds::alarmMediaWriteFailed, QmxAlarm::Warning,
                QStringLiteral("The take cannot go on when its medium is full: %1").arg(error.toString()));
            ahead.reset();
        }
    } else if (session != current.get()) {
        if (error.isError()) forget(session); // no close follows
    } else if (openedEarly && state != State::Opening) {
        openedLate(error);
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

/// A second copy that is written on keeps its session until it is done.
void QmxStream::Private::letGoOfClosed()
{
    if (current && current->isBusy()) leaving.push_back(std::move(current));
    current.reset();
}

void QmxStream::Private::sessionLostCopy(const QmxError &why, const QString &left)
{
    environment.deck->counters.add(QmxCounters::WriteErrors);
    const QString text =
        QStringLiteral("The take is on one medium only, %1: %2. Put the other one right; it is completed "
                       "after the take")
            .arg(left, why.toString());
    qmxLogOutput(1, logSource, __LINE__, "%s\n", qPrintable(text));
    postAlarm(QmxIds::alarmMirrorLost, QmxAlarm::Warning, text);
}

void QmxStream::Private::forget(QmxStreamSession *session)
{
    for (auto it = leaving.begin(); it != leaving.end(); ++it) {
        if (it->get() != session) continue;
        if (session->isBusy()) return; // a second copy is
        if (session->ask().number > 0) environment.deck->recordTable.streamClosed(session->ask().path());
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

void QmxStream::Private::sessionGrown(QmxStreamSession *session, const QString &ended)
{
    if (session != current.get()) return;
    info.setLength(session->reader()->length());
    if (!ended.isEmpty()) {
        qmxLogOutput(1, logSource, __LINE__, "%s\n", qPrintable(ended));
        postAlarm(QmxIds::alarmMediaReadFailed, QmxAlarm::Warning, ended);
    }
    if (peer) peer->grown();
}

void QmxStream::Private::sessionRoom(QmxStreamSession *session)
{
    if (session == current.get() && peer) peer->roomCame();
}

void QmxStream::Private::sessionFailed(QmxStreamSession *session, const QmxError &error, bool fatal)
{
    environment.deck->counters.add(QmxCounters::WriteErrors);
    const QString path = session->ask().path();
    qmxLogOutput(1, logSource, __LINE__, "Writing %s failed: %s\n", qPrintable(path),
                 qPrintable(error.toString()));
    postAlarm(QmxIds::alarmMediaWriteFailed, QmxAlarm::Error, error.toString());
    if (session != current.get()) return;
    const QPointer<QmxStream> alive(q);
    if (peer) peer->writeFailed(error, fatal);
    // Whoever records ends the take now: the last thing, since that closes this stream.
    if (alive && fatal && state == State::Open && current.get() == session)
        environment.deck->recordFailures.report(path, error);
}

void QmxStream::Private::sessionWrote(qint64 microseconds)
{
    emit q->benchmark(int(microseconds), QmxTimeStamp::getCurrent());
}

void QmxStream::Private::sessionStalled(QmxStreamSession *session, bool stalled)
{
    if (session != current.get()) return;
    const QString what = session->ask().what();
    if (!stalled) {
        qmxLogOutput(3, logSource, __LINE__, "Reading %s goes on\n", qPrintable(what));
        postAlarm(QmxIds::alarmMediaReadFailed, QmxAlarm::Clear, QString());
        return;
    }
    const QString text =
        QStringLiteral("%1: the medium does not answer, check whether it is still there").arg(what);
    qmxLogOutput(1, logSource, __LINE__, "Reading stands still: %s\n", qPrintable(text));
    postAlarm(QmxIds::alarmMediaReadFailed, QmxAlarm::Warning, text);
}
