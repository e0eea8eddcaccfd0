// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/core/qmxlogwriter.h"

#include "platform/qmx/core/qmxdeck.h"
#include "platform/qmx/core/qmxenvironment.h"
#include "platform/qmx/core/qmxlogexpected.h"
#include "platform/qmx/core/qmxlogfile.h"
#include "platform/qmx/core/qmxlogfold.h"

#include <algorithm>
#include <condition_variable>
#include <cstdio>
#include <ctime>
#include <functional>
#include <mutex>
#include <unistd.h>
#include <vector>

using namespace std::chrono_literals;

struct QmxLogWriter::State
{
    struct Item
    {
        QmxLogRecord record;
        qint64 now = 0;
        std::function<void()> command; // instead of a record
    };

    std::mutex mutex;
    std::condition_variable wake;
    std::condition_variable done;
    std::vector<Item> queue;
    int records = 0; // in the queue
    qint64 queued = 0;
    qint64 finished = 0;
    qint64 dropped = 0;
    qint64 droppedSaid = 0;

    // The thread's own.
    qint64 lastWritten = 0; ///< time of the line written last; the thread's
    std::unique_ptr<QmxLogFile> file;
    bool display = false;
    QmxLogFold fold;

    void push(Item item);
    void loop();
    void work(const Item &item);
    void write(const QList<QmxLogRecord> &list, bool isLate = false);
    void sayDropped(qint64 count);
};

namespace {

QByteArray format(const QmxLogRecord &record)
{
    static const char letters[] = "?EWID";
    const time_t seconds = record.wallTime / QmxClock::nsPerSecond;
    struct tm local = {};
    localtime_r(&seconds, &local);
    char stamp[32];
    const size_t length = strftime(stamp, sizeof(stamp), "%Y-%m-%d %H:%M:%S", &local);
    QByteArray line(stamp, qsizetype(length));
    const qint64 milliseconds = record.wallTime % QmxClock::nsPerSecond / QmxClock::nsPerMillisecond;
    line += '.' + QByteArray::number(milliseconds).rightJustified(3, '0') + ' ';
    line += letters[qBound(0, record.level, 4)];
    line += ' ' + record.source.toUtf8() + ':' + QByteArray::number(record.line) + ' ' + record.text.toUtf8();
    if (record.more > 0) line += " (and " + QByteArray::number(record.more) + " more)";
    return line += '\n';
}

/// A console that has gone (a closed terminal) is nobody's business.
void writeDisplay(const QByteArray &line)
{
    qsizetype done = 0;
    while (done < line.size()) {
        const ssize_t written = ::write(STDERR_FILENO, line.constData() + done, size_t(line.size() - done));
        if (written < 0 && errno == EINTR) continue;
        if (written <= 0) return;
        done += written;
    }
}

} // namespace

QmxLogTap::~QmxLogTap() = default;

QmxLogWriter::QmxLogWriter() : _state(std::make_shared<State>())
{
    // Without one nothing is written, and what does not fit into the queue is counted: there is no place to
    // tell it.
    const QmxError error = QmxEnvironment::current().threads->startDetached(
        QStringLiteral("qmx-log"), [state = _state] { state->loop(); });
    if (error.isError()) std::fprintf(stderr, "%s\n", qPrintable(error.toString()));
}

QmxLogWriter::~QmxLogWriter() = default;

void QmxLogWriter::State::push(Item item)
{
    std::lock_guard lock(mutex);
    if (!item.command) {
        if (records >= queueBound) {
            QmxEnvironment::current().deck->counters.set(QmxCounters::LogDropped, ++dropped);
            return;
        }
        ++records;
    }
    queue.push_back(std::move(item));
    ++queued;
    wake.notify_one();
}

void QmxLogWriter::State::loop()
{
    std::unique_lock lock(mutex);
    for (;;) {
        // The pause is the system's own: only folded counts wait for it, and a log that slept on the clock of
        // the recorder would take part in its time.
        wake.wait_for(lock, 1s, [this] { return !queue.empty(); });
        std::vector<Item> batch;
        batch.swap(queue);
        records = 0;
        const qint64 lost = dropped - std::exchange(droppedSaid, dropped);
        lock.unlock();
        for (const Item &item : batch)
            work(item);
        if (lost > 0) sayDropped(lost);
        write(fold.due(QmxEnvironment::current().clock->now()), true);
        lock.lock();
        finished += qint64(batch.size());
        done.notify_all();
    }
}

void QmxLogWriter::State::work(const Item &item)
{
    constexpr int withExpected = 3;
    if (item.command)
        item.command();
    else if (QmxLog::defaultLog()->level() >= withExpected || !qmxLogIsExpected(item.record))
        write(fold.add(item.record, item.now));
}

void QmxLogWriter::State::write(const QList<QmxLogRecord> &list, bool isLate)
{
    for (QmxLogRecord record : list) {
        // What was folded is written later than it happened; the log stays in the order of time.
        if (isLate) record.wallTime = std::max(lastWritten, record.wallTime);
        lastWritten = record.wallTime;
        const QByteArray line = format(record);
        if (file) file->write(line);
        if (display) writeDisplay(line);
    }
}

void QmxLogWriter::State::sayDropped(qint64 count)
{
    QmxLogRecord record;
    record.wallTime = QmxEnvironment::current().clock->wallTime();
    record.level = 2;
    record.source = QStringLiteral("qmxlog");
    record.text =
        QStringLiteral("%1 records were lost: they came faster than they could be written").arg(count);
    write({record});
}

void QmxLogWriter::record(const QmxLogRecord &record)
{
    _state->push({record, QmxEnvironment::current().clock->now(), {}});
}

void QmxLogWriter::openFile(const QString &path, qint64 maximumBytes)
{
    State *const state = _state.get();
    _state->push(
        {{}, 0, [state, path, maximumBytes] {
             state->file = std::make_unique<QmxLogFile>(path, maximumBytes);
             state->file->begin(); // a path that cannot be written is told now, not with the first line
         }});
}

void QmxLogWriter::openDisplay()
{
    State *const state = _state.get();
    _state->push({{}, 0, [state] { state->display = true; }});
}

void QmxLogWriter::flush()
{
    State *const state = _state.get();
    _state->push({{}, 0, [state] { state->write(state->fold.due(0, true), true); }});
    std::unique_lock lock(state->mutex);
    const qint64 wanted = state->queued;
    state->done.wait_for(lock, 1s, [state, wanted] { return state->finished >= wanted; });
}

qint64 QmxLogWriter::dropped() const
{
    std::lock_guard lock(_state->mutex);
    return _state->dropped;
}
