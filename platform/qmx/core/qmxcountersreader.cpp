// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/core/qmxcounters.h"
#include "platform/qmx/core/qmxcounterslayout.h"
#include "platform/qmx/core/qmxenvironment.h"
#include "platform/qmx/core/qmxplaces.h"
#include "platform/qmx/core/qmxsharedmemory.h"

#include <QHash>

#include <cstring>

using namespace QmxCountersLayout;

struct QmxCountersReader::Private
{
    std::unique_ptr<QmxSharedMemory> memory;
    // Taken once and found good: whoever writes there could change them under a reader.
    quint32 headerSize = 0;
    quint32 rowSize = 0;
    quint32 count = 0;
    QHash<QString, quint32> found; ///< rows that have been asked for

    bool makesSense();
    const Header *header() const { return reinterpret_cast<const Header *>(memory->data()); }
    const Row *row(quint32 i) const
    {
        return reinterpret_cast<const Row *>(memory->data() + headerSize + size_t(i) * rowSize);
    }
};

bool QmxCountersReader::Private::makesSense()
{
    constexpr quint32 largest = 4096;
    if (header()->magic.load(std::memory_order_acquire) != magic) return false;
    headerSize = header()->headerSize;
    rowSize = header()->rowSize;
    count = header()->count;
    return headerSize >= sizeof(Header) && headerSize <= largest && headerSize % alignof(Row) == 0 &&
           rowSize >= sizeof(Row) && rowSize <= largest && rowSize % alignof(Row) == 0 && count <= largest &&
           headerSize + size_t(count) * rowSize <= size_t(memory->size());
}

QmxCountersReader::QmxCountersReader() : d(std::make_unique<Private>()) {}
QmxCountersReader::~QmxCountersReader() = default;

bool QmxCountersReader::open(const QString &name)
{
    d->memory = QmxSharedMemory::open(name, QmxSharedMemory::Access::Read, sizeof(Header));
    if (d->memory && !d->makesSense()) d->memory.reset();
    d->found.clear();
    return d->memory != nullptr;
}

bool QmxCountersReader::open()
{
    return open(QmxEnvironment::current().places->counters);
}

QList<QmxCountersReader::Counter> QmxCountersReader::counters() const
{
    QList<Counter> result;
    for (quint32 i = 0; d->memory && i < d->count; ++i) {
        const Row *row = d->row(i);
        result.append({QString::fromLatin1(row->name, qsizetype(strnlen(row->name, sizeof(row->name)))),
                       QString::fromLatin1(row->unit, qsizetype(strnlen(row->unit, sizeof(row->unit)))),
                       row->value.load(std::memory_order_relaxed)});
    }
    return result;
}

qint64 QmxCountersReader::value(const QString &name) const
{
    if (!d->memory) return 0;
    if (const auto known = d->found.constFind(name); known != d->found.constEnd())
        return d->row(*known)->value.load(std::memory_order_relaxed);
    const QByteArray wanted = name.toLatin1();
    for (quint32 i = 0; i < d->count; ++i) {
        const Row *row = d->row(i);
        if (std::strncmp(row->name, wanted.constData(), sizeof(row->name)) != 0) continue;
        d->found.insert(name, i);
        return row->value.load(std::memory_order_relaxed);
    }
    return 0;
}

int QmxCountersReader::pid() const
{
    return d->memory ? d->header()->pid : 0;
}
