// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/core/qmxcounters.h"

#include "platform/qmx/core/qmxcounterslayout.h"
#include "platform/qmx/core/qmxsharedmemory.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <mutex>
#include <sys/mman.h>
#include <unistd.h>
#include <vector>

using namespace QmxCountersLayout;

namespace {

constexpr QmxCounters::Description rows[] = {
#define QMX_COUNTER_DESCRIPTION(row, name, unit, metric, kind, scale, help)                                  \
    {name, unit, metric, QmxCounters::Description::kind, scale, help},
    QMX_COUNTERS(QMX_COUNTER_DESCRIPTION)
#undef QMX_COUNTER_DESCRIPTION
};

constexpr size_t tableSize = sizeof(Header) + QmxCounters::RowCount * sizeof(Row);

void fill(uchar *memory)
{
    auto *header = new (memory) Header;
    header->headerSize = sizeof(Header);
    header->rowSize = sizeof(Row);
    header->count = QmxCounters::RowCount;
    header->pid = int(getpid());
    header->reserved = 0;
    for (int i = 0; i < QmxCounters::RowCount; ++i) {
        auto *row = new (memory + sizeof(Header) + size_t(i) * sizeof(Row)) Row;
        std::strncpy(row->name, rows[i].name, sizeof(row->name) - 1);
        std::strncpy(row->unit, rows[i].unit, sizeof(row->unit) - 1);
    }
    header->magic.store(magic, std::memory_order_release);
}

struct flock wholeFile(short type)
{
    struct flock lock = {};
    lock.l_type = type;
    lock.l_whence = SEEK_SET;
    return lock;
}

/// A living process publishes under this name. Whoever may only read can hold no more than a lock for
/// reading, which does not count.
bool isTaken(const QString &name)
{
    const int fd = QmxSharedMemory::openTrusted(name, QmxSharedMemory::Access::Read);
    if (fd < 0) return false;
    struct flock query = wholeFile(F_RDLCK);
    const bool taken = fcntl(fd, F_OFD_GETLK, &query) == 0 && query.l_type != F_UNLCK;
    close(fd);
    return taken;
}

} // namespace

struct QmxCounters::Private
{
    alignas(Header) uchar own[tableSize] = {};
    std::atomic<uchar *> table{own};
    std::mutex publishing;
    QString name; // under which it has been published
    std::vector<std::unique_ptr<QmxSharedMemory>> published;
};

QmxCounters::QmxCounters() : d(std::make_unique<Private>())
{
    fill(d->own);
}

QmxCounters::~QmxCounters() = default;

std::span<const QmxCounters::Description> QmxCounters::descriptions()
{
    return rows;
}

std::atomic<qint64> *QmxCounters::cell(Row row) const
{
    uchar *table = d->table.load(std::memory_order_acquire);
    return &reinterpret_cast<QmxCountersLayout::Row *>(table + sizeof(Header))[row].value;
}

bool QmxCounters::publish(const QString &name)
{
    std::lock_guard lock(d->publishing);
    if (name == d->name) return true;
    if (isTaken(name)) {
        errno = EBUSY;
        return false;
    }
    constexpr mode_t everybodyReads = 0644;
    auto memory = QmxSharedMemory::make(name, tableSize, everybodyReads, QmxSharedMemory::Existing::Replace);
    if (!memory) return false;
    struct flock request = wholeFile(F_WRLCK);
    if (fcntl(memory->descriptor(), F_OFD_SETLK, &request) != 0) {
        QmxSharedMemory::removeName(name);
        return false;
    }
    uchar *const table = memory->data();
    fill(table);
    auto *cells = reinterpret_cast<QmxCountersLayout::Row *>(table + sizeof(Header));
    for (int i = 0; i < RowCount; ++i)
        cells[i].value.store(value(Row(i)), std::memory_order_relaxed);
    d->table.store(table, std::memory_order_release);
    d->name = name;
    // Stays: the kernel lets go of its lock when the process ends. One before it may still be counted in.
    d->published.push_back(std::move(memory));
    return true;
}

void QmxCounters::set(Row row, qint64 value)
{
    cell(row)->store(value, std::memory_order_relaxed);
}

void QmxCounters::add(Row row, qint64 increment)
{
    cell(row)->fetch_add(increment, std::memory_order_relaxed);
}

void QmxCounters::raise(Row row, qint64 value)
{
    std::atomic<qint64> *const counter = cell(row);
    if (counter->load(std::memory_order_relaxed) < value) counter->store(value, std::memory_order_relaxed);
}

qint64 QmxCounters::value(Row row) const
{
    return cell(row)->load(std::memory_order_relaxed);
}
