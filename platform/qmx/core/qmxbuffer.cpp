// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/core/qmxbuffer.h"

#include "platform/qmx/core/qmxmemorypool.h"

#include <cstring>

qint64 QmxBufferData::bytesInUse()
{
    QmxMemoryPool::UsageData usage;
    QmxMemoryPool::instance()->getUsageData(usage);
    return qint64(usage.totalUsed);
}

void QmxBufferData::release(QmxBufferData *data)
{
    QmxMemoryPool::instance()->release(data);
}

QmxBuffer QmxBuffer::allocate(qsizetype size)
{
    QmxBuffer buffer;
    if (size < 0) return buffer;
    buffer._data = QmxMemoryPool::instance()->allocate(size);
    if (buffer._data) buffer._size = size;
    return buffer;
}

QmxBuffer QmxBuffer::copyOf(const void *bytes, qsizetype size)
{
    QmxBuffer buffer = allocate(size);
    if (buffer.isValid() && size > 0) std::memcpy(buffer.data(), bytes, size_t(size));
    return buffer;
}

bool QmxBuffer::resize(qsizetype size)
{
    if (size < 0 || !_data || size > _data->_capacity) return false;
    _size = size;
    return true;
}
