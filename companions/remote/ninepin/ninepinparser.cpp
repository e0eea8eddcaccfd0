// SPDX-License-Identifier: GPL-3.0-or-later
#include "companions/remote/ninepin/ninepinparser.h"

#include <algorithm>
#include <numeric>

namespace {
constexpr std::uint8_t mark = 0xFF;
constexpr int frame = 3; ///< group and count, command, sum
} // namespace

void NinepinMarks::feed(std::span<const std::uint8_t> read, std::vector<NinepinByte> &bytes)
{
    for (const std::uint8_t byte : read) {
        switch (_state) {
        case Plain:
            if (byte == mark)
                _state = Marked;
            else
                bytes.push_back({byte, NinepinFault::None});
            break;
        case Marked:
            _state = byte == 0 ? Damaged : Plain;
            if (byte != 0) bytes.push_back({byte, NinepinFault::None});
            break;
        case Damaged:
            _state = Plain;
            bytes.push_back({byte, byte == 0 ? NinepinFault::Framing : NinepinFault::Parity});
            break;
        }
    }
}

NinepinParser::NinepinParser(Limits limits, Good good, Bad bad)
    : _limits(limits), _good(std::move(good)), _bad(std::move(bad))
{}

void NinepinParser::feed(std::span<const NinepinByte> bytes, qint64 now)
{
    expire(now);
    if (_drains && now - _last >= _limits.resync) _drains = false;
    for (const NinepinByte &byte : bytes)
        take(byte, now);
    if (!bytes.empty()) _last = now;
}

void NinepinParser::take(const NinepinByte &byte, qint64 now)
{
    _last = now;
    if (_drains) return;
    if (_damage == NinepinFault::None) _damage = byte.fault;
    // The count itself may be wrong: where such a block ends only the gap behind it tells.
    if (_damage != NinepinFault::None && _size == 0) {
        fail(_damage);
        return;
    }
    _bytes[std::size_t(_size++)] = byte.value;
    if (_size == (_bytes[0] & 0x0F) + frame) finish();
}

void NinepinParser::finish()
{
    const std::uint8_t sum = std::uint8_t(std::accumulate(_bytes.begin(), _bytes.begin() + _size - 1, 0U));
    if (_damage != NinepinFault::None) return fail(_damage);
    if (sum != _bytes[std::size_t(_size - 1)]) return fail(NinepinFault::Checksum);
    NinepinBlock block{std::uint8_t(_bytes[0] & 0xF0), _bytes[1], std::uint8_t(_bytes[0] & 0x0F), {}};
    std::copy_n(_bytes.begin() + 2, block.count, block.data.begin());
    _size = 0;
    _good(block);
}

void NinepinParser::fail(NinepinFault fault)
{
    _size = 0;
    _damage = NinepinFault::None;
    _drains = _limits.resync > 0;
    _bad(fault);
}

std::optional<qint64> NinepinParser::deadline() const
{
    return _size > 0 ? std::optional(_last + _limits.gap) : std::nullopt;
}

void NinepinParser::expire(qint64 now)
{
    if (_size == 0 || now - _last < _limits.gap) return;
    const NinepinFault fault = _damage != NinepinFault::None ? _damage : NinepinFault::Timeout;
    fail(fault);
    _drains = false; // the gap was the quiet
}
