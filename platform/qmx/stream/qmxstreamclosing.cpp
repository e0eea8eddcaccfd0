// SPDX-License-Identifier: GPL-3.0-or-later
// How a stream is closed, or let go of by an open over it: who is answered, in which order, and what still is
// written.
#include "platform/qmx/core/qmxids.h"
#include "platform/qmx/core/qmxloglevel.h"
#include "platform/qmx/stream/qmxstreamprivate.h"

#include <QPointer>

#include <cerrno>
#include <utility>

/// An open over what is open or opening: the former is not heard of again.
void QmxStream::Private::abandonCurrent()
{
    if (!hasCurrent()) return;
    deadline.stop();
    if (peer) peer->closeBegins(ask.writes ? Write : Read);
    if (writer) {
        if (state == State::Opening) environment.deck->recordTable.streamOpenFailed(ask.path());
        writer->close();
        leaving.push_back(std::move(writer));
    }
    letCurrentGo();
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
    if (closeAsked || !hasCurrent()) {
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
    ask.cancelled = true;
    if (peer) peer->closeBegins(ask.writes ? Write : Read);
    post([this, of = ask] {
        state = State::Closing;
        tellOpenFailed(of, QmxError(ECANCELED));
    });
    setToken(QStringLiteral("closing %1").arg(ask.what()));
    deadline.start(operationLimit);
    closeCurrent();
}

void QmxStream::Private::beginClosing()
{
    state = State::Closing;
    setToken(QStringLiteral("closing %1").arg(ask.what()));
    if (peer) peer->closeBegins(ask.writes ? Write : Read);
    if (writer) {
        takeOfClosed = environment.deck->recordTable.take();
        if (writer->isDead() || isAtJoin()) {
            letGo();
            return;
        }
        dropAhead();
    }
    pendingAtClose = writer ? writer->pending() : 0;
    closeCurrent();
    deadline.start(operationLimit);
}

void QmxStream::Private::closeCurrent()
{
    growth.stop();
    watch.stop();
    if (reader)
        reader->close();
    else
        writer->close();
}

void QmxStream::Private::letCurrentGo()
{
    growth.stop();
    watch.stop();
    reader.reset();
    writer.reset();
}

void QmxStream::Private::end()
{
    deadline.stop();
    if (peer) {
        if (state == State::Open) peer->closeBegins(ask.writes ? Write : Read);
        std::exchange(peer, nullptr)->streamGone();
    }
    dropNext();
    if (writer) {
        if (state == State::Opening)
            environment.deck->recordTable.streamOpenFailed(ask.path());
        else
            environment.deck->recordTable.streamClosed(ask.path());
    }
}

void QmxStream::Private::closeDone()
{
    deadline.stop();
    if (writer && !ask.cancelled) environment.deck->recordTable.streamClosed(ask.path());
    letGoOfClosed();
    closeAsked = false;
    state = next ? State::Opening : State::Closed;
    const QmxOperations::Token held = std::move(token);
    const QPointer<QmxStream> alive(q);
    emit q->closeIsDone();
    // A receiver may have opened something else, or closed what waits.
    if (!alive || state != State::Opening || hasCurrent() || !next) return;
    const StreamAsk waiting = *std::exchange(next, std::nullopt);
    if (!waiting.cancelled) {
        begin(waiting);
        return;
    }
    closeAsked = true;
    state = State::Closing;
    post([this] { closeDone(); });
    tellOpenFailed(waiting, QmxError(ECANCELED));
}

void QmxStream::Private::deadlineReached()
{
    if (!hasCurrent()) return;
    // What a take began with may need longer to be written than is promised of a take without.
    if (state == State::Closing && writer && writer->hasBacklog()) {
        if (const int pending = writer->pending(); pending < pendingAtClose) {
            pendingAtClose = pending;
            deadline.start(operationLimit);
            return;
        }
    }
    const QmxError error(
        ETIMEDOUT,
        QStringLiteral("%1: the medium does not answer, check whether it is still there").arg(ask.what()));
    if (writer) writer->abandon();
    if (state == State::Opening) {
        openDone(ask, error, {}); // which lets go of a reader
        return;
    }
    if (state == State::Open) {
        openedLate(error);
        return;
    }
    qmxLogOutput(QmxLogLevel::Error, logSource, __LINE__, "Closing %s given up: the medium does not answer\n",
                 qPrintable(ask.what()));
    if (ask.writes) postAlarm(QmxIds::alarmMediaWriteFailed, QmxAlarm::Error, error.toString());
    closeDone();
}

/// A second copy that is written on keeps its writer until it is done.
void QmxStream::Private::letGoOfClosed()
{
    if (writer && writer->isBusy()) leaving.push_back(std::move(writer));
    letCurrentGo();
}

void QmxStream::Private::forget(StreamPair *closed)
{
    for (auto it = leaving.begin(); it != leaving.end(); ++it) {
        if (it->get() != closed) continue;
        if (closed->isBusy()) return; // a second copy is
        if (closed->ask().number > 0) environment.deck->recordTable.streamClosed(closed->ask().path());
        leaving.erase(it);
        return;
    }
}
