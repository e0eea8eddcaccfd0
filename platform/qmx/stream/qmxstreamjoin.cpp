// SPDX-License-Identifier: GPL-3.0-or-later
// A take that goes on in the next clip, on the next medium. Neither the end of the one nor the begin of the
// other may make the pictures wait: they come on, and whoever stops the take in that moment would throw away
// what waits. So the next clip is opened before it is needed, told as open whether or not it is, its writer's
// queue taking the frames, and the clip before is closed behind its back.
#include "platform/qmx/core/qmxdeck.h"
#include "platform/qmx/core/qmxnextclip.h"
#include "platform/qmx/stream/qmxstreamprivate.h"

namespace {
/// What was opened ahead and not asked for so long after the clip before was closed, will not be.
constexpr int aheadPatienceMs = 2000;
constexpr int operationLimitMs = 9500;
} // namespace

bool QmxStream::Private::continuesTake(const QmxStreamAsk &ask) const
{
    const quint64 take = environment.deck->recordTable.take();
    return ask.writes && take != 0 && take == takeOfClosed;
}

bool QmxStream::Private::isAtJoin() const
{
    return nextKnown && percentFree <= joinLevel && takeOfClosed != 0;
}

void QmxStream::Private::beginJoined(const QmxStreamAsk &ask)
{
    aheadTime.stop();
    percentFree = 100;
    nextKnown = false;
    if (ahead && ahead->ask().path() == ask.path() && ahead->ask().clip.image == ask.clip.image) {
        current = std::move(ahead);
        current->begin(ask);
    } else {
        dropAhead();
        current = std::make_unique<QmxStreamSession>(ask, q, this, benchmarkOn, environment);
        current->open();
    }
    deadline.start(operationLimitMs);
    post.post([this, ask] {
        if (state == State::Opening && current && current->ask().number == ask.number &&
            !current->isCancelled())
            openDone(ask, {}, {});
    });
}

/// The answer of a medium to what has been told as open already.
void QmxStream::Private::openedLate(const QmxError &error)
{
    if (!error.isError()) {
        if (state == State::Open) deadline.stop();
        return;
    }
    QmxStreamSession *const session = current.get();
    session->setDead();
    sessionFailed(session, error, true);
    if (current.get() == session && state == State::Closing) closeDone();
}

/// The clip is written to its end and closed while the next one runs, or there is nothing to be closed.
void QmxStream::Private::letGo()
{
    if (!current->isDead()) {
        current->writer()->leaveFigures();
        current->close();
        leaving.push_back(std::move(current));
        aheadTime.start(aheadPatienceMs);
    } else {
        dropAhead();
    }
    post.post([this] { closeDone(); });
}

void QmxStream::Private::dropAhead()
{
    aheadTime.stop();
    refused.clear();
    nextKnown = false;
    if (!ahead) return;
    ahead->close();
    leaving.push_back(std::move(ahead));
}

void QmxStream::Private::openAhead(const QString &path)
{
    QmxStreamAsk ask = current->ask();
    ask.number = 0; // nobody has asked
    ask.source = *StreamReaderSource::fromDesc(path);
    ahead = std::make_unique<QmxStreamSession>(ask, q, this, benchmarkOn, environment);
    ahead->openAhead();
}

void QmxStream::Private::sessionLevel(QmxStreamSession *session, int percent)
{
    if (session != current.get() || state != State::Open || environment.deck->recordTable.take() == 0) return;
    percentFree = percent;
    if (percent > aheadLevel) return;
    const QString path = QmxNextClip::instance()->after(session->ask().path());
    if (ahead && ahead->ask().path() != path) dropAhead();
    nextKnown = !path.isEmpty();
    if (nextKnown && !ahead && path != refused) openAhead(path);
}
