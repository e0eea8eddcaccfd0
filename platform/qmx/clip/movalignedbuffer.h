// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/clip/movlayout.h"

#include <QByteArrayView>

#include <cstdlib>
#include <cstring>
#include <memory>

/// Bytes that can go to a disk without the page cache: aligned to a block, zero padded to a whole one.
class MovAlignedBuffer
{
public:
    uchar *data() { return _data.get(); }
    const uchar *data() const { return _data.get(); }
    qint64 size() const { return _size; }
    qint64 paddedSize() const { return MovLayout::roundUp(_size); }
    void clear() { _size = 0; }

    void assign(QByteArrayView bytes)
    {
        clear();
        append(bytes);
    }
    void append(QByteArrayView bytes)
    {
        std::memcpy(extend(bytes.size()), bytes.data(), size_t(bytes.size()));
    }

    /// Room for `count` more bytes, which the caller fills. What stands behind them up to the end of the
    /// block is zero.
    uchar *extend(qint64 count)
    {
        const qint64 wanted = MovLayout::roundUp(_size + count);
        if (wanted > _capacity) {
            const qint64 capacity = std::max(wanted, 2 * _capacity);
            std::unique_ptr<uchar, Free> data(
                static_cast<uchar *>(std::aligned_alloc(MovLayout::block, size_t(capacity))));
            if (!data) std::abort(); // as operator new would
            if (_size > 0) std::memcpy(data.get(), _data.get(), size_t(_size));
            _data = std::move(data);
            _capacity = capacity;
        }
        uchar *start = _data.get() + _size;
        _size += count;
        std::memset(_data.get() + _size, 0, size_t(paddedSize() - _size));
        return start;
    }

private:
    struct Free
    {
        void operator()(uchar *data) const { std::free(data); }
    };
    std::unique_ptr<uchar, Free> _data;
    qint64 _size = 0;
    qint64 _capacity = 0;
};
