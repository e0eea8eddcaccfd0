// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/clip/qmxblake3.h"

#include "platform/qmx/clip/movcrc.h"
#include "platform/qmx/clip/qmxblake3kernels.h"

#include <algorithm>
#include <cstring>

using namespace QmxBlake3Kernels;

namespace {

using Value = std::array<quint32, 8>;
constexpr size_t chunkBlocks = 16;

/// A chunk that may be short.
Value hashChunk(const uchar *data, size_t size, quint64 chunk, quint32 flags)
{
    Value value;
    std::copy(std::begin(start), std::end(start), value.begin());
    flags |= chunkStart;
    for (bool last = false; !last;) {
        const size_t length = std::min<size_t>(size, blockSize);
        last = size <= size_t(blockSize);
        uchar block[blockSize] = {};
        if (length > 0) std::memcpy(block, data, length);
        // Only the last block can be the root.
        const quint32 now = last ? flags | chunkEnd : flags & ~quint32(root);
        compress(value.data(), block, quint32(length), chunk, now);
        flags &= ~quint32(chunkStart);
        data += length;
        size -= length;
    }
    return value;
}

Value joined(const Value &left, const Value &right, bool isRoot)
{
    quint32 both[16];
    std::copy(left.begin(), left.end(), both);
    std::copy(right.begin(), right.end(), both + 8);
    Value value;
    std::copy(std::begin(start), std::end(start), value.begin());
    compress(value.data(), reinterpret_cast<const uchar *>(both), blockSize, 0, parent | (isRoot ? root : 0));
    return value;
}

} // namespace

/// The part of the tree over at most a batch, which begins with this chunk.
QmxBlake3::Value QmxBlake3::part(const uchar *data, size_t size, quint64 chunk, bool isRoot, MovCrcParts *crc)
{
    const size_t left = size % chunkSize;
    const bool sums = crc && makesSums() && size > chunkSize;
    if (crc && !sums) crc->addBytes(data, size);
    if (size <= chunkSize) return hashChunk(data, size, chunk, isRoot ? root : 0);
    quint32 values[8 * batchChunks];
    quint32 parts[batchChunks];
    size_t count = size / chunkSize;
    hashAll({data, chunkSize, count, int(chunkBlocks), chunk, true, 0, chunkStart, chunkEnd,
             sums ? parts : nullptr},
            values);
    if (sums) {
        for (size_t i = 0; i < count; ++i)
            crc->addPart(parts[i]);
        crc->addBytes(data + count * chunkSize, left);
    }
    if (left > 0) {
        const Value last = hashChunk(data + count * chunkSize, left, chunk + count, 0);
        std::copy(last.begin(), last.end(), values + 8 * count++);
    }
    // Neighbours join, one without a neighbour goes up a level.
    while (count > 1) {
        const size_t pairs = count / 2;
        const quint32 flags = parent | (isRoot && count == 2 ? root : 0);
        hashAll({reinterpret_cast<const uchar *>(values), blockSize, pairs, 1, 0, false, flags, 0, 0},
                values);
        if (count % 2 == 1) std::copy_n(values + 8 * (count - 1), 8, values + 8 * pairs);
        count -= pairs;
    }
    Value value;
    std::copy_n(values, value.size(), value.begin());
    return value;
}

/// A whole batch, after which more comes.
void QmxBlake3::push(const uchar *batch, MovCrcParts *crc)
{
    Value value = part(batch, batchSize, _batches * batchChunks, false, crc);
    for (quint64 batches = ++_batches; batches % 2 == 0; batches /= 2)
        value = joined(_stack[size_t(--_depth)], value, false);
    _stack[size_t(_depth++)] = value;
}

QmxBlake3::Digest QmxBlake3::finish(const uchar *data, size_t size, MovCrcParts *crc) const
{
    Value value = part(data, size, _batches * batchChunks, _depth == 0, crc);
    for (int i = _depth - 1; i >= 0; --i)
        value = joined(_stack[size_t(i)], value, i == 0);
    Digest digest;
    std::memcpy(digest.data(), value.data(), digest.size());
    return digest;
}

QmxBlake3::Digest QmxBlake3::hash(const void *data, size_t size, quint32 *crc32c)
{
    QmxBlake3 whole;
    MovCrcParts crc;
    MovCrcParts *const wanted = crc32c ? &crc : nullptr;
    const auto *bytes = static_cast<const uchar *>(data);
    for (; size > batchSize; bytes += batchSize, size -= batchSize)
        whole.push(bytes, wanted);
    const Digest digest = whole.finish(bytes, size, wanted);
    if (crc32c) *crc32c = crc.value();
    return digest;
}

void QmxBlake3::add(const void *data, size_t size)
{
    if (!_rest) _rest = std::make_unique_for_overwrite<uchar[]>(batchSize);
    const auto *bytes = static_cast<const uchar *>(data);
    while (size > 0) {
        if (_restSize == batchSize) {
            push(_rest.get());
            _restSize = 0;
        }
        for (; _restSize == 0 && size > batchSize; bytes += batchSize, size -= batchSize)
            push(bytes);
        const size_t taken = std::min(size, batchSize - _restSize);
        std::memcpy(_rest.get() + _restSize, bytes, taken);
        _restSize += taken;
        bytes += taken;
        size -= taken;
    }
}

QmxBlake3::Digest QmxBlake3::result() const
{
    return finish(_rest.get(), _restSize);
}

QByteArray QmxBlake3::toHex(const Digest &digest)
{
    return QByteArray(reinterpret_cast<const char *>(digest.data()), qsizetype(digest.size())).toHex();
}
