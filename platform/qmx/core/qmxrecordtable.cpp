// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/core/qmxrecordtable.h"

#include <QHash>

#include <mutex>
#include <utility>

struct QmxRecordTable::Private
{
    struct Record
    {
        Entry entry;
        bool pending = false; // the first frame is counted but has not been handed over yet
        Memory before;        // when the stream was asked to open
    };

    mutable std::mutex mutex;
    QList<Record> records;
    QmxTimecode handedOut;
    Memory memory;
    quint64 takes = 0;
    bool inTake = false;
    Backlog backlog;

    Record *find(const QString &path)
    {
        for (Record &record : records)
            if (record.entry.path == path) return &record;
        return nullptr;
    }
    void remove(const QString &path)
    {
        records.removeIf([&path](const Record &record) { return record.entry.path == path; });
    }
};

QmxRecordTable::QmxRecordTable() : d(std::make_unique<Private>()) {}
QmxRecordTable::~QmxRecordTable() = default;

void QmxRecordTable::frameHandedOut(const QmxTimecode &timecode)
{
    std::lock_guard lock(d->mutex);
    d->handedOut = timecode;
}

void QmxRecordTable::takeBegins(const Backlog &backlog)
{
    std::lock_guard lock(d->mutex);
    ++d->takes;
    d->inTake = true;
    d->backlog = backlog;
}

QmxRecordTable::Backlog QmxRecordTable::takeBacklog()
{
    std::lock_guard lock(d->mutex);
    return std::exchange(d->backlog, {});
}

void QmxRecordTable::takeEnds()
{
    std::lock_guard lock(d->mutex);
    d->inTake = false;
}

quint64 QmxRecordTable::take() const
{
    std::lock_guard lock(d->mutex);
    return d->inTake ? d->takes : 0;
}

void QmxRecordTable::streamOpening(const QString &path)
{
    std::lock_guard lock(d->mutex);
    d->remove(path);
    Private::Record record;
    record.entry.path = path;
    record.entry.frames = 1;
    record.pending = true;
    record.before = d->memory;
    d->records.append(record);
    d->memory.last = d->handedOut;
    ++d->memory.written;
}

void QmxRecordTable::streamOpenFailed(const QString &path)
{
    std::lock_guard lock(d->mutex);
    const Private::Record *record = d->find(path);
    // Written in the meantime by another stream: that one counts.
    if (record && record->pending && d->memory.written == record->before.written + 1)
        d->memory = record->before;
    d->remove(path);
}

void QmxRecordTable::frameWritten(const QString &path, const QmxTimecode &timecode, bool first)
{
    std::lock_guard lock(d->mutex);
    d->memory.last = timecode;
    if (!first) d->memory.lastNotFirst = timecode;
    Private::Record *record = d->find(path);
    if (record && record->pending) {
        record->pending = false; // counted when the stream was asked to open
        return;
    }
    ++d->memory.written;
    if (record) ++record->entry.frames;
}

void QmxRecordTable::streamClosed(const QString &path)
{
    std::lock_guard lock(d->mutex);
    d->remove(path);
}

std::optional<QmxRecordTable::Entry> QmxRecordTable::entry(const QString &path) const
{
    std::lock_guard lock(d->mutex);
    if (const Private::Record *record = d->find(path)) return record->entry;
    return std::nullopt;
}

QList<QmxRecordTable::Entry> QmxRecordTable::entries() const
{
    std::lock_guard lock(d->mutex);
    QList<Entry> result;
    for (const Private::Record &record : std::as_const(d->records))
        result.append(record.entry);
    return result;
}

QmxRecordTable::Memory QmxRecordTable::memory() const
{
    std::lock_guard lock(d->mutex);
    return d->memory;
}
