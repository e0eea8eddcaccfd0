// SPDX-License-Identifier: GPL-3.0-or-later
// A take that goes on in the next clip, on the next medium. Neither the end of the one nor the begin of the
// other may make the pictures wait: they come on, and whoever stops the take in that moment would throw away
// what waits. So the next clip is opened before it is needed, told as open whether or not it is, its writer's
// queue taking the frames, and the clip before is closed behind its back.
#include "platform/qmx/core/qmxdeck.h"
#include "platform/qmx/stream/qmxstreamprivate.h"

#include <QPointer>

namespace {
/// What was opened ahead and not asked for so long after the clip before was closed, will not be.
constexpr int aheadPatienceMs = 2000;
} // namespace

bool QmxStream::Private::continuesTake(const StreamAsk &of) const
{
    const quint64 take = environment.deck->recordTable.take();
    return of.writes && take != 0 && take == takeOfClosed;
}

bool QmxStream::Private::isAtJoin() const
{
    return nextKnown && percentFree <= joinLevel && takeOfClosed != 0;
}

void QmxStream::Private::beginJoined()
{
    aheadTime.stop();
    percentFree = 100;
    nextKnown = false;
    if (ahead && ahead->ask().paths() == ask.paths() && ahead->ask().clip.image == ask.clip.image) {
        writer = std::move(ahead);
        writer->begin(ask);
    } else {
        dropAhead();
        writer = makeWriter(ask);
        writer->open();
    }
    deadline.start(operationLimit);
    post([this, of = ask] {
        if (state == State::Opening && writer && ask.number == of.number && !ask.cancelled)
            openDone(of, {}, {});
    });
}

/// The answer of a medium to what has been told as open already.
void QmxStream::Private::openedLate(const QmxError &error)
{
    if (!error.isError()) {
        if (state == State::Open) deadline.stop();
        return;
    }
    StreamPair *const dead = writer.get();
    dead->setDead();
    const QPointer<QmxStream> alive(q);
    writerFailed(dead, error, true);
    if (alive && writer.get() == dead && state == State::Closing) closeDone();
}

/// The clip is written to its end and closed while the next one runs, or there is nothing to be closed.
void QmxStream::Private::letGo()
{
    if (!writer->isDead()) {
        writer->leaveFigures();
        writer->close();
        leaving.push_back(std::move(writer));
        aheadTime.start(aheadPatienceMs);
    } else {
        dropAhead();
    }
    post([this] { closeDone(); });
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
    StreamAsk later = ask;
    later.number = 0; // nobody has asked
    later.source = *StreamReaderSource::fromDesc(path);
    later.mirrorFolder = environment.deck->takeOptions.values().mirrorMediaPath;
    ahead = makeWriter(later);
    ahead->openAhead();
}

void QmxStream::Private::writerLevel(StreamPair *of, int percent)
{
    if (of != writer.get() || state != State::Open || environment.deck->recordTable.take() == 0) return;
    percentFree = percent;
    if (percent > aheadLevel) return;
    const QString path = environment.deck->nextClip.after(ask.path());
    const QString mirror = environment.deck->takeOptions.values().mirrorMediaPath;
    if (ahead && (ahead->ask().path() != path || ahead->ask().mirrorFolder != mirror)) dropAhead();
    nextKnown = !path.isEmpty();
    if (nextKnown && !ahead && path != refused) openAhead(path);
}
