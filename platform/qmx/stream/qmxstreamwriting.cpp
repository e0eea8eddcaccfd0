// SPDX-License-Identifier: GPL-3.0-or-later
// What the writers of a stream tell: that of the open stream, that of the clip which will follow it, and
// those that still write what an earlier one left.
#include "platform/qmx/core/qmxids.h"
#include "platform/qmx/core/qmxloglevel.h"
#include "platform/qmx/stream/qmxstreamprivate.h"

#include <QPointer>

#include <cerrno>

void QmxStream::Private::writerClosed(StreamPair *of, const QmxError &error)
{
    const QPointer<QmxStream> alive(q);
    if (error.isError()) writerFailed(of, error, false);
    if (!alive) return;
    if (of == writer.get())
        closeDone();
    else
        forget(of);
}

void QmxStream::Private::writerMovedCopy(const QString &to, qint64 frame, bool joins)
{
    qmxLogText(
        QmxLogLevel::Info, logSource, __LINE__,
        QStringLiteral("The medium of the second copy is nearly full: it goes on in %1, from frame %2 on")
            .arg(to)
            .arg(frame));
    if (joins) postAlarm(QmxIds::alarmMirrorLost, QmxAlarm::Clear, QString()); // that it cannot go on
}

void QmxStream::Private::writerCouldNotMoveCopy(const QmxError &why)
{
    const QString text =
        QStringLiteral("The second copy of the take cannot go on when its medium is full: %1")
            .arg(why.toString());
    qmxLogText(QmxLogLevel::Warning, logSource, __LINE__, text);
    postAlarm(QmxIds::alarmMirrorLost, QmxAlarm::Warning, text);
}

void QmxStream::Private::writerLostCopy(const QmxError &why, const QString &left)
{
    environment.deck->counters.add(QmxCounters::WriteErrors);
    const bool isFull = why.value() == ENOSPC || why.value() == EDQUOT;
    const QString text =
        QStringLiteral("The take is on one medium only, %1: %2. %3")
            .arg(left, why.toString(),
                 isFull ? QStringLiteral("After the take the clip is copied whole to where there is room")
                        : QStringLiteral("Put the other one right; it is completed after the take"));
    qmxLogText(QmxLogLevel::Error, logSource, __LINE__, text);
    postAlarm(QmxIds::alarmMirrorLost, QmxAlarm::Warning, text);
}

void QmxStream::Private::writerRoom(StreamPair *of)
{
    if (of == writer.get() && peer) peer->roomCame();
}

void QmxStream::Private::writerFailed(StreamPair *of, const QmxError &error, bool fatal)
{
    environment.deck->counters.add(QmxCounters::WriteErrors);
    const QString path = of->ask().path();
    qmxLogOutput(QmxLogLevel::Error, logSource, __LINE__, "Writing %s failed: %s\n", qPrintable(path),
                 qPrintable(error.toString()));
    postAlarm(QmxIds::alarmMediaWriteFailed, QmxAlarm::Error, error.toString());
    if (of != writer.get()) return;
    const QPointer<QmxStream> alive(q);
    if (peer) peer->writeFailed(error, fatal);
    // Whoever records ends the take now: the last thing, since that closes this stream.
    if (alive && fatal && state == State::Open && writer.get() == of)
        environment.deck->recordFailures.report(path, error);
}

void QmxStream::Private::writerWrote(QmxClock::Duration took)
{
    emit q->benchmark(int(took / std::chrono::microseconds(1)), QmxTimeStamp::getCurrent());
}
