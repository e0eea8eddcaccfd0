// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QMetaType>
#include <QtGlobal>

#include <utility>

/// The memory behind buffers: one block of the pool. Made and recycled by QmxMemoryPool only.
class QmxBufferData
{
public:
    /// Pool memory held by buffers now, in bytes of capacity.
    static qint64 bytesInUse();

private:
    friend class QmxBuffer;
    friend class QmxMemoryPool;
    static void release(QmxBufferData *data);

    QAtomicInt _ref;
    uchar *_memory = nullptr;
    qsizetype _capacity = 0;
    quint64 _serial = 0;
    int _sizeClass = 0;
    bool _huge = false;
};

/// A handle to picture, sound or coded bytes in pool memory. A value: copies share the memory, which
/// returns to the pool with the last of them. Equal: the same memory (not: equal content) and size.
///
/// The memory is writable through every copy; who fills it does so before handing it on. Handles may be
/// copied and dropped on any thread.
class QmxBuffer
{
public:
    /// Alignment of data() and unit of capacity(), so that a block can go to a disk without the page cache.
    static constexpr qsizetype alignment = 4096;

    QmxBuffer() = default;
    QmxBuffer(const QmxBuffer &other) : _data(other._data), _size(other._size) { acquire(); }
    QmxBuffer(QmxBuffer &&other) noexcept
        : _data(std::exchange(other._data, nullptr)), _size(std::exchange(other._size, 0))
    {}
    ~QmxBuffer() { drop(); }
    QmxBuffer &operator=(QmxBuffer other) noexcept
    {
        std::swap(_data, other._data);
        std::swap(_size, other._size);
        return *this;
    }

    /// `size` bytes of undefined content; not valid when the pool is exhausted or size < 0.
    static QmxBuffer allocate(qsizetype size);
    /// A buffer of its own with these bytes.
    static QmxBuffer copyOf(const void *bytes, qsizetype size);

    bool isValid() const { return _data != nullptr; }
    uchar *data() { return _data ? _data->_memory : nullptr; }
    const uchar *data() const { return constData(); }
    const uchar *constData() const { return _data ? _data->_memory : nullptr; }
    qsizetype size() const { return _size; }
    /// Bytes that may be used: a multiple of `alignment`, at least size().
    qsizetype capacity() const { return _data ? _data->_capacity : 0; }
    /// Whether other handles hold the same memory.
    bool isShared() const { return _data && _data->_ref.loadAcquire() > 1; }
    /// Changes the size of this handle (not of its copies) within capacity(); false when it does not fit.
    bool resize(qsizetype size);
    /// Unique number of this content's allocation, never used again in this process; 0 when not valid.
    quint64 serial() const { return _data ? _data->_serial : 0; }

    friend bool operator==(const QmxBuffer &a, const QmxBuffer &b)
    {
        return a._data == b._data && a._size == b._size;
    }

private:
    void acquire()
    {
        if (_data) _data->_ref.ref();
    }
    void drop()
    {
        if (_data && !_data->_ref.deref()) QmxBufferData::release(_data);
    }

    QmxBufferData *_data = nullptr;
    qsizetype _size = 0;
};

Q_DECLARE_METATYPE(QmxBuffer)
