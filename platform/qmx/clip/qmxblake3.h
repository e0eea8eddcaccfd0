// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>

#include <array>
#include <memory>

class MovCrcParts;

/// BLAKE3, unkeyed, 32 bytes: what `b3sum` prints. Chunks are hashed beside each other, as many as the
/// processor has lanes for. A value that is fed; one thread.
class QmxBlake3
{
public:
    using Digest = std::array<uchar, 32>;

    /// Of one piece of memory; keeps no copy of it. `crc32c`, if given, gets the CRC-32C of the same bytes,
    /// which costs next to nothing beside the hash.
    static Digest hash(const void *data, size_t size, quint32 *crc32c = nullptr);

    void add(const void *data, size_t size);
    /// As if nothing had been added; keeps its memory.
    void reset()
    {
        _depth = 0;
        _batches = 0;
        _restSize = 0;
    }
    /// Of all that has been added so far; more may follow.
    Digest result() const;

    static QByteArray toHex(const Digest &digest);

private:
    using Value = std::array<quint32, 8>;
    /// Hashed at a time, as one part of the tree.
    static constexpr size_t batchChunks = 256;
    static constexpr size_t chunkSize = 1024;
    static constexpr size_t batchSize = batchChunks * chunkSize;
    static constexpr int maxDepth = 64;

    static Value part(const uchar *data, size_t size, quint64 chunk, bool isRoot, MovCrcParts *crc);
    void push(const uchar *batch, MovCrcParts *crc = nullptr);
    Digest finish(const uchar *data, size_t size, MovCrcParts *crc = nullptr) const;

    std::array<Value, maxDepth> _stack; ///< whole left parts of the tree, the largest first
    int _depth = 0;
    quint64 _batches = 0;
    std::unique_ptr<uchar[]>
        _rest; ///< never empty once something has been added: what comes last is the root
    size_t _restSize = 0;
};
