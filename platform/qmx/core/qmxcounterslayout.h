// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtGlobal>

#include <atomic>

/// The counters in shared memory: a header, then `count` rows. Host byte order: it never leaves the machine.
/// A reader goes by the sizes in the header and the names in the rows, so that both may grow.
namespace QmxCountersLayout {

constexpr quint32 magic = 0x43505831; ///< written last: the table is complete

struct Header
{
    std::atomic<quint32> magic;
    quint32 headerSize;
    quint32 rowSize;
    quint32 count;
    qint32 pid;
    quint32 reserved;
};

struct Row
{
    char name[40]; ///< ends with a zero byte
    char unit[16];
    std::atomic<qint64> value;
};

} // namespace QmxCountersLayout
