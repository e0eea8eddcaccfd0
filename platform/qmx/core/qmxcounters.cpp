// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/core/qmxcounters.h"

#include "platform/qmx/core/qmxcounterslayout.h"

#include <cstring>
#include <fcntl.h>
#include <mutex>
#include <sys/mman.h>
#include <unistd.h>

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

struct flock wholeFile()
{
    struct flock lock = {};
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    return lock;
}

/// A living process publishes under this name.
bool isTaken(const QByteArray &path)
{
    const int fd = shm_open(path.constData(), O_RDONLY, 0);
    if (fd < 0) return false;
    struct flock query = wholeFile();
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
    int lockedFd = -1;
};

QmxCounters::QmxCounters() : d(std::make_unique<Private>())
{
    fill(d->own);
}

QmxCounters::~QmxCounters()
{
    if (d->lockedFd < 0) return;
    munmap(d->table.load(), tableSize);
    close(d->lockedFd);
}

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
    const QByteArray path = name.toLocal8Bit();
    if (isTaken(path)) return false;
    // A new object in place of an old one: whoever still reads that one sees it stand still, not a mixture.
    shm_unlink(path.constData());
    const int fd = shm_open(path.constData(), O_CREAT | O_EXCL | O_RDWR, 0644);
    if (fd < 0) return false;
    struct flock request = wholeFile();
    void *memory = MAP_FAILED;
    if (ftruncate(fd, tableSize) == 0 && fcntl(fd, F_OFD_SETLK, &request) == 0)
        memory = mmap(nullptr, tableSize, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
    if (memory == MAP_FAILED) {
        close(fd);
        shm_unlink(path.constData());
        return false;
    }
    auto *table = static_cast<uchar *>(memory);
    fill(table);
    auto *cells = reinterpret_cast<QmxCountersLayout::Row *>(table + sizeof(Header));
    for (int i = 0; i < RowCount; ++i)
        cells[i].value.store(value(Row(i)), std::memory_order_relaxed);
    d->table.store(table, std::memory_order_release);
    d->name = name;
    // The memory of a name before stays: a thread may be counting there at this moment.
    if (d->lockedFd >= 0) close(d->lockedFd);
    d->lockedFd = fd; // stays open: the kernel lets go of its lock when the process ends
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
