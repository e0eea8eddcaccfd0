// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/stream/streamwriterstate.h"

#include "platform/qmx/core/qmxdeck.h"
#include "platform/qmx/core/qmxids.h"
#include "platform/qmx/core/qmxlog.h"
#include "platform/qmx/core/qmxmemorypool.h"
#include "platform/qmx/core/qmxsamefilesystem.h"

#include <QFileInfo>

#include <cerrno>
#include <cmath>
#include <utility>

namespace {

constexpr const char *logSource = "streamwriter";
/// The queue's length; four seconds are promised, so a frame that is being written does not matter.
constexpr double queueSeconds = 5.0;
constexpr int minimumQueueFrames = 32;
/// The queue's share of the pool, and what it may have however small that is.
constexpr int poolShare = 3;
constexpr qint64 minimumQueueBytes = 64 * 1024 * 1024;
/// Half a second is promised; what the flush itself takes, and what is being coded, comes on top.
constexpr qint64 flushInterval = 350 * QmxClock::nsPerMillisecond;
/// The medium is slow while the queue is fuller than the first fraction, until it is emptier than the second.
constexpr double slowAbove = 0.5;
constexpr double slowUntil = 0.1;
/// How long the end of the program waits for a write under way.
constexpr std::chrono::milliseconds emergencyWait(1000);

} // namespace

StreamWriter::State::State(const QString &clipPath, const QmxClipInfo &clipInfo, const Events &receiver,
                           const QmxEnvironment &where, const Copy &which)
    : environment(where),
      tally(which.tally ? which.tally : std::make_shared<StreamTally>(where)),
      copy(which.number),
      path(clipPath),
      info(clipInfo),
      events(receiver)
{
    const double rate = info.image.frameRate().isValid() ? info.image.frameRate().toDouble() : 0.0;
    maximumFrames = qMax(minimumQueueFrames, int(std::ceil(rate * queueSeconds)));
    QmxMemoryPool::UsageData usage;
    QmxMemoryPool::instance()->getUsageData(usage);
    maximumBytes = qMax(minimumQueueBytes, qint64(usage.totalSize / poolShare));
    backlog = tally->backlog();
}

void StreamWriter::State::run()
{
    for (;;) {
        const std::lock_guard file(fileMutex);
        QmxFrame frame;
        switch (nextStep(frame)) {
        case Step::Open:
            openFile();
            break;
        case Step::Begin:
            beginClip();
            break;
        case Step::Write:
            writeFrame(frame);
            break;
        case Step::Flush:
            flushFile();
            break;
        case Step::Close:
            closeFile();
            return;
        case Step::Idle:
            return;
        }
    }
}

StreamWriter::State::Step StreamWriter::State::nextStep(QmxFrame &frame)
{
    const std::lock_guard lock(mutex);
    ++steps;
    if (openAsked) {
        openAsked = false;
        return Step::Open;
    }
    if (!writer) { // never opened
        scheduled = false;
        if (closeAsked && !done) return Step::Close;
        return Step::Idle;
    }
    if (std::exchange(beginAsked, false)) return Step::Begin;
    if (failed) {
        dropQueue();
        unflushed = 0;
    }
    const bool due = unflushed > 0 && environment.clock->now() - firstUnflushed >= flushInterval;
    if (due || (flushAsked && unflushed > 0 && queue.empty())) return Step::Flush;
    if (!queue.empty()) {
        frame = queue.front();
        queue.pop_front();
        writing = 1;
        return Step::Write;
    }
    flushAsked = false;
    if (closeAsked) return Step::Close;
    scheduled = false;
    return Step::Idle;
}

/// Frames are lost; with the mutex held.
void StreamWriter::State::drop(qint64 frames)
{
    if (tally->lose(copy, frames)) dropped += frames;
}

void StreamWriter::State::dropQueue()
{
    drop(qint64(queue.size()));
    for (const QmxFrame &frame : queue)
        queuedBytes -= frame.bytes(); // one may be with the thread
    queue.clear();
}

/// Ends as unfinished copies do: whoever looks after the media takes away what a crash has left.
QString StreamWriter::State::hiddenPath() const
{
    const QFileInfo file(path);
    return QStringLiteral("%1/.next-%2.part").arg(file.path(), file.fileName());
}

/// Only media are recorded on: a folder of the system's own file system is one whose medium is not there.
QmxError StreamWriter::State::refusePlace() const
{
    // A name may come with the camera's data.
    if (path.split('/').contains(QStringLiteral("..")))
        return {EINVAL, QStringLiteral("%1 cannot be recorded: the name leads out of its medium").arg(path)};
    const QString folder = QFileInfo(path).path();
    struct statfs64 medium = {};
    struct statfs64 root = {};
    if (environment.files->statfs(folder, &medium) != 0) {
        const int reason = errno;
        return {reason, QStringLiteral("%1 cannot be recorded: the medium at %2 does not answer (%3)")
                            .arg(QFileInfo(path).fileName(), folder, QmxError(reason).toString())};
    }
    if (environment.files->statfs(QStringLiteral("/"), &root) != 0) return refuseMedium(folder, medium);
    if (!qmxSameFileSystem(*environment.files, QStringLiteral("/"), root, folder, medium))
        return refuseMedium(folder, medium);
    return {ENODEV, QStringLiteral("%1 cannot be recorded: no medium is mounted at %2")
                        .arg(QFileInfo(path).fileName(), folder)};
}

/// Two copies on one medium would be lost together.
QmxError StreamWriter::State::refuseMedium(const QString &folder, const struct statfs64 &medium) const
{
    if (tally->claim(copy, *environment.files, folder, medium)) return {};
    return {EXDEV, QStringLiteral("%1 is on the same medium as the take itself; choose a folder on another "
                                  "medium as mirror_media_path")
                       .arg(folder)};
}

void StreamWriter::State::openFile()
{
    QmxError error = refusePlace();
    auto file = std::make_unique<QmxClipWriter>(environment);
    if (!error.isError() && ahead)
        environment.files->unlink(hiddenPath()); // of a take that a crash has ended
    if (!error.isError()) error = file->create(ahead ? hiddenPath() : path, info);
    if (error.isError()) tally->leave(copy);
    {
        const std::lock_guard lock(mutex);
        if (error.isError()) {
            const auto waited = qint64(queue.size());
            dropQueue();
            if (dropped > 0 && waited > 0)
                error = {error.value(), QStringLiteral("%1; %2 frames that waited for it are lost")
                                            .arg(error.toString(), QString::number(waited))};
            done = true;
            scheduled = false;
        } else {
            writer = std::move(file);
        }
    }
    if (error.isError()) {
        doneChanged.notify_all();
    } else {
        emergency = environment.deck->operations.addEmergencyFlush([weak = weak_from_this()] {
            if (const std::shared_ptr<State> self = weak.lock()) self->flushAtOnce();
        });
    }
    events.opened(error);
}

void StreamWriter::State::beginClip()
{
    QmxClipInfo wanted;
    {
        const std::lock_guard lock(mutex);
        wanted = info;
        ahead = false;
    }
    const QmxError error = writer->take(path, wanted);
    if (error.isError()) fail(error);
}

void StreamWriter::State::writeFrame(const QmxFrame &frame)
{
    const qint64 begin = environment.clock->now();
    // What did not come is not in the clip either, whatever stands in its place.
    if (const int damage = frame.meta().value(QmxIds::inputDamage).toInt(); damage > 0)
        writer->noteLost(damage);
    const QmxError error = writer->writeFrame(frame);
    const qint64 end = environment.clock->now();
    {
        const std::lock_guard lock(mutex);
        queuedBytes -= frame.bytes();
        writing = 0;
    }
    if (error.isError()) {
        if (writer->failed()) {
            tally->leave(copy);
            // What no flush has reached is lost with it.
            tally->lose(copy, 1 + writer->framesWritten() - writer->framesDurable());
            fail(error);
        } else {
            writer->noteLost(1);
            tally->refuse(copy);
            if (tally->speaks(copy)) events.failed(error, false);
        }
    } else {
        if (unflushed++ == 0) firstUnflushed = end;
        latency.add(end - begin);
        events.wrote((end - begin) / 1000);
    }
    frameLeft();
}

/// A place in the queue has come free.
void StreamWriter::State::frameLeft()
{
    bool tellRoom = false;
    {
        const std::lock_guard lock(mutex);
        tellRoom = roomWanted && !isFull();
        if (tellRoom) roomWanted = false;
        judgeSpeed();
    }
    if (tellRoom) events.room();
}

/// Publishes the state of the queue; with the mutex held.
void StreamWriter::State::judgeSpeed()
{
    tally->set(copy, QmxCounters::WriterQueue, qint64(queue.size()));
    tally->set(copy, QmxCounters::WriterQueueBytes, queuedBytes);
    // What the take began with does not come from a slow medium, until it has been written.
    if (appended > backlog.frames && queue.size() < size_t(maximumFrames * slowUntil)) backlog = {};
    if (fill() > slowAbove) setSlow(true);
    if (fill() < slowUntil) setSlow(false);
}

void StreamWriter::State::flushFile()
{
    const qint64 begin = environment.clock->now();
    const QmxError error = writer->flush();
    latency.add(environment.clock->now() - begin);
    const qint64 lost = std::exchange(unflushed, 0);
    if (error.isError()) {
        // They were written and are not on the medium for all anybody knows.
        tally->leave(copy);
        tally->lose(copy, lost);
        if (error.value() == ENOENT) tally->setDurable(copy, 0); // the whole clip is gone
        fail(error);
        return;
    }
    tally->setDurable(copy, writer->framesDurable());
    tally->set(copy, QmxCounters::WriteLatencyP50, latency.percentile(0.50) / 1000);
    tally->set(copy, QmxCounters::WriteLatencyP99, latency.percentile(0.99) / 1000);
    tally->set(copy, QmxCounters::WriteLatencyMax, latency.maximum() / 1000);
    if (events.level) tellLevel();
}

void StreamWriter::State::tellLevel()
{
    struct statfs64 medium = {};
    if (environment.files->statfs(QFileInfo(path).path(), &medium) != 0 || medium.f_blocks == 0) return;
    events.level(int(std::round(double(medium.f_bfree) / double(medium.f_blocks) * 100.0)));
}

void StreamWriter::State::closeFile()
{
    QmxError error;
    qint64 lost = 0;
    emergency.reset();
    if (writer) {
        mutex.lock();
        const bool wasFailed = failed;
        mutex.unlock();
        const qint64 frames = writer->framesWritten();
        error = writer->close();
        if (!error.isError() && !wasFailed) tally->setDurable(copy, frames);
        if (wasFailed) error = {}; // it has been told
    }
    {
        const std::lock_guard lock(mutex);
        setSlow(false);
        lost = dropped;
        done = true;
        scheduled = false;
    }
    doneChanged.notify_all();
    if (lost > 0)
        qmxLogOutput(1, logSource, __LINE__, "%lld frames came after the medium of %s had failed\n",
                     static_cast<long long>(lost), qPrintable(path));
    events.closed(error);
}

void StreamWriter::State::fail(const QmxError &error)
{
    {
        const std::lock_guard lock(mutex);
        if (failed) return;
        failed = true;
    }
    events.failed(error, true);
}

void StreamWriter::State::setSlow(bool now)
{
    tally->setSlow(copy, now, path);
}

/// The program is being ended by force: what waits goes to the medium now, unless the writer thread itself
/// hangs there.
void StreamWriter::State::flushAtOnce()
{
    const std::unique_lock file(fileMutex, emergencyWait);
    if (!file.owns_lock() || !writer) return;
    std::deque<QmxFrame> waiting;
    {
        const std::lock_guard lock(mutex);
        waiting.swap(queue);
        queuedBytes = 0;
    }
    for (const QmxFrame &frame : waiting)
        writer->writeFrame(frame);
    writer->flush();
}
