// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxbuffer.h"

#include <memory>

/// Where all picture memory comes from: a range of reserved address space, cut into blocks of size classes
/// that are used again and again; in steady state a frame costs no system call and no system allocation.
/// A pool that has reached its limit takes back what lies free in other classes; when that does not help,
/// the allocation fails: counted, and alarm 1915 until a tenth of the limit is free again.
/// One pool a process (Qmx::pool()); any thread.
class QmxMemoryPool
{
public:
    struct UsageData
    {
        int flags = 0;         ///< Flags, ored
        int pagesPerBlock = 0; ///< pages of the smallest block
        int blockSize = 0;     ///< bytes of the smallest block
        int sysFrag = 0;       ///< free blocks waiting for use, in memory of normal pages
        int htlbFrag = 0;      ///< the same in huge pages
        quint64 sysSize = 0;   ///< bytes of blocks in normal pages, used or free
        quint64 htlbSize = 0;  ///< the same in huge pages
        quint64 totalSize = 0; ///< limit in bytes
        quint64 totalUsed = 0; ///< bytes held by buffers now
    };
    enum Flags { HugePages = 1, Exhausted = 2 };

    static QmxMemoryPool *instance();

    /// Sets the limit to `bytes`, but never below what one record and one play of the largest format need.
    void reserve(quint64 bytes);
    /// So much more than the limit may be used from now on: for what is kept long. UsageData does not count
    /// it, so that nobody's share of the pool grows by it.
    void setExtra(quint64 bytes);
    void getUsageData(UsageData &usage) const;
    /// Allocations that failed so far.
    qint64 failures() const;
    /// Gives the memory of free blocks back to the system.
    void trim();

private:
    friend class QmxBuffer;
    friend class QmxBufferData;
    QmxMemoryPool();
    ~QmxMemoryPool();
    QmxBufferData *allocate(qsizetype size);
    void release(QmxBufferData *data);

    struct Private;
    std::unique_ptr<Private> d;
};
