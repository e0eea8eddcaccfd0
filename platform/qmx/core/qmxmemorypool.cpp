// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/core/qmxmemorypool.h"

#include "platform/qmx/core/qmxalarmcontroller.h"
#include "platform/qmx/core/qmxdeck.h"
#include "platform/qmx/core/qmxenvironment.h"
#include "platform/qmx/core/qmxids.h"
#include "platform/qmx/core/qmxloglevel.h"
#include "platform/qmx/core/qmxmemoryregion.h"
#include "platform/qmx/core/qmxsanitizer.h"

#include <deque>
#include <mutex>
#include <vector>

namespace {

constexpr qsizetype blockUnit = QmxBuffer::alignment;
/// Class sizes are 5, 6, 7 and 8 quarters of each power of two, so that at most a fifth of a block is waste.
constexpr int quarters = 4;
constexpr int classCount = sizeof(void *) > 4 ? 80 : 60;

/// One record and one play of the largest format (4096x2160 at 60, ProRes 4444): six seconds of coded frames
/// waiting in capture, four in the writer, decoded pictures ahead of the output. 32-bit machines cannot
/// address so much; they get what they can.
constexpr quint64 leastLimit = sizeof(void *) > 4 ? Q_UINT64_C(3) << 30 : Q_UINT64_C(512) << 20;
/// Blocks of a class keep their addresses when their memory goes to another class, so the address space is
/// a multiple of the limit.
constexpr quint64 addressFactor = sizeof(void *) > 4 ? 16 : 2;

qsizetype classSize(int sizeClass)
{
    if (sizeClass < quarters) return (sizeClass + 1) * blockUnit;
    const int power = sizeClass / quarters;
    return qsizetype(quarters + sizeClass % quarters + 1) * blockUnit << (power - 1);
}

int classOf(qsizetype size)
{
    for (int sizeClass = 0; sizeClass < classCount; ++sizeClass)
        if (classSize(sizeClass) >= size) return sizeClass;
    return classCount;
}

} // namespace

struct QmxMemoryPool::Private
{
    mutable std::mutex mutex;
    std::deque<QmxMemoryRegion> regions; // huge pages first
    std::deque<QmxBufferData> blocks;    // every block ever cut
    struct Class
    {
        std::vector<QmxBufferData *> free; // with memory, used last on top
        std::vector<QmxBufferData *> cold; // whose memory went back to the system
    };
    Class classes[classCount];
    quint64 limit = leastLimit;
    quint64 extra = 0;
    quint64 sysSize = 0;
    quint64 htlbSize = 0;
    quint64 used = 0;
    quint64 serial = 0;
    qint64 failures = 0;
    bool exhausted = false;

    void addRegion(quint64 bytes, bool huge);
    QmxBufferData *take(int sizeClass);
    QmxBufferData *cut(int sizeClass);
    bool makeRoom(quint64 bytes);
    void discardFree(Class &of);
};

void QmxMemoryPool::Private::addRegion(quint64 bytes, bool huge)
{
    QmxMemoryRegion region;
    if (!region.reserve(size_t(bytes), huge)) return;
    if (huge)
        regions.push_front(region);
    else
        regions.push_back(region);
}

QmxBufferData *QmxMemoryPool::Private::take(int sizeClass)
{
    if (sizeClass >= classCount) return nullptr;
    Class &of = classes[sizeClass];
    if (!of.free.empty()) {
        QmxBufferData *block = of.free.back();
        of.free.pop_back();
        return block;
    }
    const quint64 bytes = quint64(classSize(sizeClass));
    if (!makeRoom(bytes)) return nullptr;
    if (!of.cold.empty()) {
        QmxBufferData *block = of.cold.back();
        of.cold.pop_back();
        sysSize += bytes;
        return block;
    }
    return cut(sizeClass);
}

QmxBufferData *QmxMemoryPool::Private::cut(int sizeClass)
{
    const qsizetype bytes = classSize(sizeClass);
    if (regions.empty() || regions.back().isHuge()) addRegion(limit * addressFactor, false);
    for (QmxMemoryRegion &region : regions) {
        uchar *memory = region.cut(size_t(bytes + qmxPoisonGap));
        if (!memory) continue;
        qmxPoison(memory + bytes, qmxPoisonGap);
        // A deque of plain records: grows by whole chunks, and only until every block has been cut once.
        QmxBufferData *block = &blocks.emplace_back();
        block->_memory = memory;
        block->_capacity = bytes;
        block->_sizeClass = sizeClass;
        block->_huge = region.isHuge();
        (block->_huge ? htlbSize : sysSize) += quint64(bytes);
        return block;
    }
    return nullptr;
}

bool QmxMemoryPool::Private::makeRoom(quint64 bytes)
{
    for (int i = classCount - 1; i >= 0 && sysSize + htlbSize + bytes > limit + extra; --i)
        discardFree(classes[i]);
    return sysSize + htlbSize + bytes <= limit + extra;
}

void QmxMemoryPool::Private::discardFree(Class &of)
{
    std::vector<QmxBufferData *> kept;
    for (QmxBufferData *block : of.free) {
        if (block->_huge) { // set aside for us in any case
            kept.push_back(block);
            continue;
        }
        QmxMemoryRegion::discard(block->_memory, size_t(block->_capacity));
        sysSize -= quint64(block->_capacity);
        of.cold.push_back(block);
    }
    of.free.swap(kept);
}

QmxMemoryPool::QmxMemoryPool() : d(std::make_unique<Private>()) {}
QmxMemoryPool::~QmxMemoryPool() = default;

QmxMemoryPool *QmxMemoryPool::instance()
{
    // Never destroyed: the last buffers may go after everything else.
    static QmxMemoryPool *const pool = new QmxMemoryPool;
    return pool;
}

void QmxMemoryPool::reserve(quint64 bytes)
{
    std::lock_guard lock(d->mutex);
    d->limit = qMax(bytes, leastLimit);
    const size_t huge = QmxMemoryRegion::freeHugePages();
    if (huge > 0 && (d->regions.empty() || !d->regions.front().isHuge()))
        d->addRegion(qMin(quint64(huge), d->limit), true);
}

void QmxMemoryPool::setExtra(quint64 bytes)
{
    std::lock_guard lock(d->mutex);
    d->extra = bytes;
}

void QmxMemoryPool::getUsageData(UsageData &usage) const
{
    std::lock_guard lock(d->mutex);
    usage = UsageData();
    usage.blockSize = int(blockUnit);
    usage.pagesPerBlock = 1;
    for (const Private::Class &of : d->classes)
        for (const QmxBufferData *block : of.free)
            ++(block->_huge ? usage.htlbFrag : usage.sysFrag);
    usage.sysSize = d->sysSize;
    usage.htlbSize = d->htlbSize;
    usage.totalSize = d->limit;
    usage.totalUsed = d->used;
    usage.flags = (d->htlbSize > 0 ? HugePages : 0) | (d->exhausted ? Exhausted : 0);
}

qint64 QmxMemoryPool::failures() const
{
    std::lock_guard lock(d->mutex);
    return d->failures;
}

void QmxMemoryPool::trim()
{
    std::lock_guard lock(d->mutex);
    for (Private::Class &of : d->classes)
        d->discardFree(of);
}

QmxBufferData *QmxMemoryPool::allocate(qsizetype size)
{
    bool nowExhausted = false;
    quint64 limit = 0;
    {
        std::lock_guard lock(d->mutex);
        if (QmxBufferData *block = d->take(classOf(size))) {
            qmxUnpoison(block->_memory, block->_capacity);
            block->_ref.storeRelaxed(1);
            block->_serial = ++d->serial;
            d->used += quint64(block->_capacity);
            QmxEnvironment::current().deck->counters.set(QmxCounters::PoolInUse, qint64(d->used));
            return block;
        }
        QmxEnvironment::current().deck->counters.set(QmxCounters::PoolFailures, ++d->failures);
        nowExhausted = !std::exchange(d->exhausted, true);
        limit = d->limit;
    }
    if (nowExhausted) {
        constexpr quint64 mebibyte = 1024 * 1024;
        const QString text =
            QStringLiteral("Picture memory is exhausted: %1 bytes do not fit into the limit of %2 MiB")
                .arg(size)
                .arg(limit / mebibyte);
        qmxLogText(QmxLogLevel::Error, "qmxmemorypool", __LINE__, text);
        QmxAlarmController::post(
            QmxAlarm(QmxIds::alarmMemoryExhausted, QmxAlarm::Error, text, "qmxmemorypool", __LINE__));
    }
    return nullptr;
}

void QmxMemoryPool::release(QmxBufferData *data)
{
    constexpr quint64 tenths = 10;
    bool recovered = false;
    {
        std::lock_guard lock(d->mutex);
        d->used -= quint64(data->_capacity);
        qmxPoison(data->_memory, data->_capacity);
        d->classes[data->_sizeClass].free.push_back(data);
        QmxEnvironment::current().deck->counters.set(QmxCounters::PoolInUse, qint64(d->used));
        if (d->exhausted && d->used <= d->limit - d->limit / tenths) {
            d->exhausted = false;
            recovered = true;
        }
    }
    if (recovered)
        QmxAlarmController::post(
            QmxAlarm(QmxIds::alarmMemoryExhausted, QmxAlarm::Clear, QString(), "qmxmemorypool", __LINE__));
}
