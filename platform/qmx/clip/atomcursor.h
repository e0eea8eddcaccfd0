// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtEndian>

#include <optional>
#include <span>

/// Reads big-endian numbers and atoms out of memory that nobody vouches for. A read beyond the end gives 0
/// and makes ok() false for good, so that a parser checks once, at its end.
class AtomCursor
{
public:
    AtomCursor() = default;
    explicit AtomCursor(std::span<const uchar> data) : _data(data) {}

    bool ok() const { return _ok; }
    size_t left() const { return _data.size() - _position; }
    size_t position() const { return _position; }

    void skip(size_t count) { take(count); }
    quint8 u8() { return quint8(number(1)); }
    quint16 u16() { return quint16(number(2)); }
    quint32 u32() { return quint32(number(4)); }
    quint64 u64() { return number(8); }

    /// The next `count` bytes; empty (and not ok) when there are fewer.
    std::span<const uchar> take(size_t count)
    {
        if (count > left()) {
            _ok = false;
            _position = _data.size();
            return {};
        }
        const auto result = _data.subspan(_position, count);
        _position += count;
        return result;
    }

    struct Atom
    {
        quint32 type = 0;
        std::span<const uchar> content;
        size_t start = 0; ///< of its header, within this cursor's data
        size_t size = 0;  ///< with its header
    };

    /// The next atom; nothing at the end or when its size does not fit (then not ok, except that fewer than
    /// eight bytes are a terminator that some writers leave).
    std::optional<Atom> next()
    {
        if (left() < 8) return std::nullopt;
        Atom atom;
        atom.start = _position;
        quint64 size = u32();
        atom.type = u32();
        size_t header = 8;
        if (size == 1) {
            size = u64();
            header = 16;
        } else if (size == 0) {
            size = header + left();
        }
        if (!_ok || size < header || size - header > left()) {
            _ok = false;
            return std::nullopt;
        }
        atom.size = size_t(size);
        atom.content = take(size_t(size - header));
        return atom;
    }

private:
    quint64 number(size_t bytes)
    {
        quint64 value = 0;
        for (uchar byte : take(bytes))
            value = value << 8 | byte;
        return value;
    }

    std::span<const uchar> _data;
    size_t _position = 0;
    bool _ok = true;
};

/// A four-character code as the number that it is in a file.
constexpr quint32 atomType(const char (&text)[5])
{
    return quint32(uchar(text[0])) << 24 | quint32(uchar(text[1])) << 16 | quint32(uchar(text[2])) << 8 |
           quint32(uchar(text[3]));
}
