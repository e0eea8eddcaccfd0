// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>

#include <array>
#include <cstdint>
#include <initializer_list>

/// Why a block is not taken: the bits of a NAK.
enum class NinepinFault : std::uint8_t {
    None = 0,
    Undefined = 0x01,
    Checksum = 0x04,
    Parity = 0x10,
    Overrun = 0x20,
    Framing = 0x40,
    Timeout = 0x80,
};

/// One block of the 9-pin protocol without its sum. A value.
struct NinepinBlock
{
    static constexpr int maximumData = 15;

    std::uint8_t group = 0; ///< high half of the first byte, as 0x20
    std::uint8_t command = 0;
    std::uint8_t count = 0; ///< of data, 0 to 15
    std::array<std::uint8_t, maximumData> data{};

    /// As it travels, sum included.
    QByteArray bytes() const;
};

/// Blocks that a deck sends.
namespace NinepinReplies {
/// The count in the low half of the first byte is filled in.
QByteArray block(std::uint8_t group, std::uint8_t command, const QByteArray &data);
QByteArray block(std::uint8_t group, std::uint8_t command, std::initializer_list<std::uint8_t> data);
QByteArray ack();
QByteArray nak(NinepinFault fault);
bool isNak(const QByteArray &bytes);
} // namespace NinepinReplies
