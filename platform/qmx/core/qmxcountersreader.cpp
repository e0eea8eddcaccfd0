// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/core/qmxcounters.h"
#include "platform/qmx/core/qmxcounterslayout.h"
#include "platform/qmx/core/qmxenvironment.h"
#include "platform/qmx/core/qmxplaces.h"

#include <cstring>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace QmxCountersLayout;

struct QmxCountersReader::Private
{
    const uchar *memory = nullptr;
    size_t size = 0;

    ~Private() { unmap(); }
    void unmap();
    bool makesSense() const;
    const Header *header() const { return reinterpret_cast<const Header *>(memory); }
    const Row *row(quint32 i) const
    {
        return reinterpret_cast<const Row *>(memory + header()->headerSize + size_t(i) * header()->rowSize);
    }
};

void QmxCountersReader::Private::unmap()
{
    if (memory) munmap(const_cast<uchar *>(memory), size);
    memory = nullptr;
    size = 0;
}

bool QmxCountersReader::Private::makesSense() const
{
    constexpr quint32 largest = 4096;
    if (size < sizeof(Header) || header()->magic.load(std::memory_order_acquire) != magic) return false;
    const Header *h = header();
    return h->headerSize >= sizeof(Header) && h->headerSize <= largest && h->headerSize % alignof(Row) == 0 &&
           h->rowSize >= sizeof(Row) && h->rowSize <= largest && h->rowSize % alignof(Row) == 0 &&
           h->count <= largest && h->headerSize + size_t(h->count) * h->rowSize <= size;
}

QmxCountersReader::QmxCountersReader() : d(std::make_unique<Private>()) {}
QmxCountersReader::~QmxCountersReader() = default;

bool QmxCountersReader::open(const QString &name)
{
    d->unmap();
    const int fd = shm_open(name.toLocal8Bit().constData(), O_RDONLY, 0);
    if (fd < 0) return false;
    struct stat status = {};
    void *memory = MAP_FAILED;
    if (fstat(fd, &status) == 0 && status.st_size > 0)
        memory = mmap(nullptr, size_t(status.st_size), PROT_READ, MAP_SHARED, fd, 0);
    close(fd);
    if (memory == MAP_FAILED) return false;
    d->memory = static_cast<const uchar *>(memory);
    d->size = size_t(status.st_size);
    if (d->makesSense()) return true;
    d->unmap();
    return false;
}

bool QmxCountersReader::open()
{
    return open(QmxEnvironment::current().places->counters);
}

QList<QmxCountersReader::Counter> QmxCountersReader::counters() const
{
    QList<Counter> result;
    for (quint32 i = 0; d->memory && i < d->header()->count; ++i) {
        const Row *row = d->row(i);
        result.append({QString::fromLatin1(row->name, qsizetype(strnlen(row->name, sizeof(row->name)))),
                       QString::fromLatin1(row->unit, qsizetype(strnlen(row->unit, sizeof(row->unit)))),
                       row->value.load(std::memory_order_relaxed)});
    }
    return result;
}

qint64 QmxCountersReader::value(const QString &name) const
{
    const QByteArray wanted = name.toLatin1();
    for (quint32 i = 0; d->memory && i < d->header()->count; ++i) {
        const Row *row = d->row(i);
        if (std::strncmp(row->name, wanted.constData(), sizeof(row->name)) == 0)
            return row->value.load(std::memory_order_relaxed);
    }
    return 0;
}

int QmxCountersReader::pid() const
{
    return d->memory ? d->header()->pid : 0;
}
