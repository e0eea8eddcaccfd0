// SPDX-License-Identifier: GPL-3.0-or-later
#include "companions/remote/ninepin/ninepinblock.h"

#include <numeric>

QByteArray NinepinBlock::bytes() const
{
    return NinepinReplies::block(group, command,
                                 QByteArray(reinterpret_cast<const char *>(data.data()), count));
}

namespace NinepinReplies {
QByteArray block(std::uint8_t group, std::uint8_t command, const QByteArray &data)
{
    Q_ASSERT(data.size() <= NinepinBlock::maximumData);
    QByteArray bytes;
    bytes.reserve(data.size() + 3);
    bytes.append(char(group | data.size())).append(char(command)).append(data);
    const unsigned sum = std::accumulate(bytes.cbegin(), bytes.cend(), 0U,
                                         [](unsigned s, char c) { return s + std::uint8_t(c); });
    return bytes.append(char(sum & 0xFF));
}

QByteArray block(std::uint8_t group, std::uint8_t command, std::initializer_list<std::uint8_t> data)
{
    return block(group, command,
                 QByteArray(reinterpret_cast<const char *>(data.begin()), qsizetype(data.size())));
}

QByteArray ack()
{
    return block(0x10, 0x01, {});
}

QByteArray nak(NinepinFault fault)
{
    return block(0x10, 0x12, {std::uint8_t(fault)});
}
bool isNak(const QByteArray &bytes)
{
    return bytes.startsWith("\x11\x12");
}
} // namespace NinepinReplies
