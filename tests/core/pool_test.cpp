// SPDX-License-Identifier: GPL-3.0-or-later
// Picture memory: aligned, shared, reused, bounded.
#include "platform/qmx/core/qmx.h"
#include "platform/qmx/core/qmxalarmcontroller.h"
#include "platform/qmx/core/qmxbuffer.h"
#include "platform/qmx/core/qmxdeck.h"
#include "platform/qmx/core/qmxenvironment.h"
#include "platform/qmx/core/qmxsanitizer.h"
#include "tests/support/logcollector.h"
#include "tests/support/stepper.h"

#include <gtest/gtest.h>

#include <QList>
#include <QSet>

#include <cstring>
#include <thread>

static QmxMemoryPool::UsageData usage()
{
    QmxMemoryPool::UsageData data;
    Qmx::pool()->getUsageData(data);
    return data;
}

TEST(Pool, BlocksAreAlignedSharedAndReused)
{
    QSet<quint64> serials;
    for (const qsizetype size : {0, 1, 4095, 4096, 4097, 20481, 100'000, 8'294'400, 53'084'160}) {
        QmxBuffer buffer = QmxBuffer::allocate(size);
        ASSERT_TRUE(buffer.isValid());
        EXPECT_EQ(buffer.size(), size);
        EXPECT_EQ(quintptr(buffer.data()) % 4096, 0u);
        EXPECT_EQ(buffer.capacity() % 4096, 0);
        EXPECT_GE(buffer.capacity(), size);
        EXPECT_LT(buffer.capacity(), size + size / 4 + 2 * 4096) << "little waste";
        std::memset(buffer.data(), 0xa5, size_t(buffer.capacity()));
        EXPECT_FALSE(serials.contains(buffer.serial()));
        serials.insert(buffer.serial());
        EXPECT_EQ(QmxBufferData::bytesInUse(), buffer.capacity());

        QmxBuffer copy = buffer;
        EXPECT_EQ(copy, buffer);
        EXPECT_FALSE(copy.resize(buffer.capacity() + 1));
        EXPECT_TRUE(copy.resize(size / 2));
        EXPECT_EQ(buffer.size(), size) << "a handle has a size of its own";
        copy = QmxBuffer();
        buffer = QmxBuffer(std::move(buffer));
        EXPECT_EQ(QmxBufferData::bytesInUse(), buffer.capacity());
    }
    EXPECT_EQ(QmxBufferData::bytesInUse(), 0);
    EXPECT_FALSE(QmxBuffer::allocate(-1).isValid());
    EXPECT_FALSE(QmxBuffer().isValid());

    // A queue of 40 frames going round needs no more memory than 41.
    QList<QmxBuffer> queue;
    quint64 afterFirst = 0;
    for (int frame = 0; frame < 4000; ++frame) {
        queue.append(QmxBuffer::allocate(1'000'000 + frame % 7));
        if (queue.size() > 40) queue.removeFirst();
        if (frame == 100) afterFirst = usage().sysSize + usage().htlbSize;
    }
    EXPECT_EQ(usage().sysSize + usage().htlbSize, afterFirst);
    EXPECT_EQ(usage().totalUsed, quint64(40 * queue.first().capacity()));
}

TEST(Pool, ExhaustionIsAnInvalidBufferAnAlarmAndOver)
{
    expectLog("qmxmemorypool", "Picture memory is exhausted");
    QmxAlarmController controller;
    QList<QmxAlarm> alarms;
    QObject::connect(&controller, &QmxAlarmController::alarmTriggered,
                     [&](const QmxAlarm &alarm) { alarms.append(alarm); });
    Qmx::poolReserve(0x10); // far too little: the pool knows better
    const quint64 limit = usage().totalSize;
    ASSERT_GE(limit, quint64(1) << 30);

    constexpr qsizetype big = 64 << 20; // never touched: costs addresses, not memory
    QList<QmxBuffer> all;
    while (all.size() < 1000) {
        const QmxBuffer buffer = QmxBuffer::allocate(big);
        if (!buffer.isValid()) break;
        all.append(buffer);
    }
    EXPECT_EQ(quint64(all.size()), limit / big);
    EXPECT_FALSE(QmxBuffer::allocate(big).isValid());
    EXPECT_EQ(Qmx::pool()->failures(), 2);
    EXPECT_EQ(QmxEnvironment::current().deck->counters.value(QmxCounters::PoolFailures), 2);
    EXPECT_TRUE(usage().flags & QmxMemoryPool::Exhausted);
    Stepper::deliver();
    ASSERT_EQ(alarms.size(), 1);
    EXPECT_EQ(alarms[0].id(), QmxId(1915));
    EXPECT_EQ(alarms[0].level(), QmxAlarm::Error);

    // What lies free in one class serves another.
    all.resize(all.size() / 2);
    EXPECT_TRUE(QmxBuffer::allocate(big / 2 - 1000).isValid());
    Stepper::deliver();
    ASSERT_EQ(alarms.size(), 2);
    EXPECT_FALSE(alarms[1].isActive());
    all.clear();
    QList<QmxBuffer> small;
    while (quint64(small.size()) < limit / (40 << 20))
        small.append(QmxBuffer::allocate(40 << 20));
    EXPECT_TRUE(std::all_of(small.begin(), small.end(), [](const QmxBuffer &b) { return b.isValid(); }));
    EXPECT_LE(usage().sysSize + usage().htlbSize, limit);
    small.clear();
    Qmx::pool()->trim();
    EXPECT_EQ(usage().sysSize, 0u);
}

#if QMX_HAS_ADDRESS_SANITIZER
TEST(Pool, WhoTouchesABlockThatIsNotHisIsSeen)
{
    QmxBuffer buffer = QmxBuffer::allocate(5000);
    uchar *const memory = buffer.data();
    const qsizetype capacity = buffer.capacity();
    EXPECT_EQ(__asan_region_is_poisoned(memory, size_t(capacity)), nullptr);
    EXPECT_TRUE(__asan_address_is_poisoned(memory + capacity)) << "beyond its end";
    buffer = QmxBuffer();
    EXPECT_TRUE(__asan_address_is_poisoned(memory)) << "when it is free";
    EXPECT_EQ(QmxBuffer::allocate(5000).data(), memory) << "and may be used again";
}
#endif

TEST(Pool, ThreadsNeverShareABlock)
{
    std::atomic<int> torn{0};
    const auto work = [&torn](uchar pattern) {
        QList<QmxBuffer> held;
        for (int i = 0; i < 3000; ++i) {
            QmxBuffer buffer = QmxBuffer::allocate(4096 * (1 + i % 5));
            std::memset(buffer.data(), pattern, size_t(buffer.size()));
            held.append(buffer);
            if (held.size() < 8) continue;
            const QmxBuffer oldest = held.takeFirst();
            for (qsizetype at = 0; at < oldest.size(); at += 512)
                if (oldest.constData()[at] != pattern) ++torn;
        }
    };
    std::thread a(work, 1), b(work, 2), c(work, 3);
    a.join();
    b.join();
    c.join();
    EXPECT_EQ(torn, 0);
    EXPECT_EQ(QmxBufferData::bytesInUse(), 0);
}
