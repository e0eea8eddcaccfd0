// SPDX-License-Identifier: GPL-3.0-or-later
// What the reader of a stream tells, and what is looked at while it reads.
#include "platform/qmx/core/qmxids.h"
#include "platform/qmx/core/qmxloglevel.h"
#include "platform/qmx/stream/qmxstreamprivate.h"

#include <QPointer>

namespace {
/// A disk that wakes up takes some seconds; nothing that answers takes longer.
constexpr qint64 stallTime = 3 * QmxClock::nsPerSecond;
} // namespace

void QmxStream::Private::readerResults()
{
    const QList<StreamReader::Result> results = reader->takeResults();
    QList<StreamReader::Result> wished;
    for (const StreamReader::Result &result : results)
        if (result.request == 0) wished.append(result);
    const StreamReader *const asked = reader.get();
    const QPointer<QmxStream> alive(q);
    if (peer && !wished.isEmpty()) peer->framesRead(wished);
    for (const StreamReader::Result &result : results) {
        if (!alive || reader.get() != asked) return; // a receiver has gone on to something else
        if (result.request > 0) emit q->readIsDone(result.frame, result.data, result.error, result.user);
        if (alive && *benchmarkOn) writerWrote(result.took);
    }
}

void QmxStream::Private::readerGrown(const QString &ended)
{
    info.setLength(reader->length());
    followed = reader->sequels();
    followedOf = followed.isEmpty() ? QString() : ask.path();
    if (!ended.isEmpty()) {
        brokenOff = ask.path();
        qmxLogText(QmxLogLevel::Error, logSource, __LINE__, ended);
        postAlarm(QmxIds::alarmMediaReadFailed, QmxAlarm::Warning, ended);
    }
    if (peer) peer->grown();
}

void QmxStream::Private::watchReader()
{
    const qint64 since = reader->busySince();
    const bool hangs = since > 0 && environment.clock->now() - since > stallTime;
    if (hangs == stalled) return;
    stalled = hangs;
    const QString what = ask.what();
    if (!hangs) {
        qmxLogOutput(QmxLogLevel::Info, logSource, __LINE__, "Reading %s goes on\n", qPrintable(what));
        postAlarm(QmxIds::alarmMediaReadFailed, QmxAlarm::Clear, QString());
        return;
    }
    const QString text =
        QStringLiteral("%1: the medium does not answer, check whether it is still there").arg(what);
    qmxLogOutput(QmxLogLevel::Error, logSource, __LINE__, "Reading stands still: %s\n", qPrintable(text));
    postAlarm(QmxIds::alarmMediaReadFailed, QmxAlarm::Warning, text);
}
