// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtEndian>
#include <QtGlobal>

/// Writes bits, the most significant first, into memory of the caller. Writes up to `slack` bytes beyond the
/// last bit, so there must be room for that. No state of its own beyond one machine word.
class ProResBitWriter
{
public:
    static constexpr int slack = 8;
    static constexpr int longest = 56; ///< bits at once

    explicit ProResBitWriter(uchar *at) : _begin(at), _at(at) {}

    /// The `length` lowest bits of `value`, 1 to `longest`; the bits above them are 0.
    void put(quint64 value, int length)
    {
        // At most 7 bits wait; whole bytes go out each time, without a branch.
        // No code is longer than `longest`:
        // NOLINTNEXTLINE(clang-analyzer-core.UndefinedBinaryOperatorResult)
        _bits |= value << (64 - _count - length);
        qToBigEndian(_bits, _at);
        _count += length;
        _at += _count >> 3;
        _bits <<= _count & ~7;
        _count &= 7;
    }

    /// Fills up the last byte with zeros; how many bytes there are.
    int finish()
    {
        if (_count > 0) ++_at;
        _bits = 0;
        _count = 0;
        return int(_at - _begin);
    }

private:
    uchar *_begin;
    uchar *_at;
    quint64 _bits = 0;
    int _count = 0;
};
