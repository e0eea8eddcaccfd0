// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/clip/movcrc.h"

#include <array>
#include <cstring>

namespace {

constexpr quint32 castagnoli = 0x82F63B78;

constexpr std::array<quint32, 256> makeTable()
{
    std::array<quint32, 256> table{};
    for (quint32 i = 0; i < table.size(); ++i) {
        quint32 value = i;
        for (int bit = 0; bit < 8; ++bit)
            value = value & 1 ? value >> 1 ^ castagnoli : value >> 1;
        table[i] = value;
    }
    return table;
}

constexpr auto table = makeTable();

quint32 crcPortable(const uchar *data, size_t size, quint32 crc)
{
    for (size_t i = 0; i < size; ++i)
        crc = crc >> 8 ^ table[(crc ^ data[i]) & 0xff];
    return crc;
}

#ifdef __x86_64__
__attribute__((target("sse4.2"))) quint32 crcInstruction(const uchar *data, size_t size, quint32 crc)
{
    unsigned long long wide = crc;
    for (; size >= 8; data += 8, size -= 8) {
        unsigned long long word;
        std::memcpy(&word, data, sizeof word);
        wide = __builtin_ia32_crc32di(wide, word);
    }
    crc = quint32(wide);
    for (; size > 0; ++data, --size)
        crc = __builtin_ia32_crc32qi(crc, *data);
    return crc;
}
#endif

} // namespace

quint32 movCrc32c(const void *data, size_t size, quint32 previous)
{
    const auto *bytes = static_cast<const uchar *>(data);
#ifdef __x86_64__
    static const bool hasInstruction = __builtin_cpu_supports("sse4.2");
    if (hasInstruction) return ~crcInstruction(bytes, size, ~previous);
#endif
    return ~crcPortable(bytes, size, ~previous);
}

bool movCrcIs(quint32 checksum, const void *data, size_t size)
{
#ifdef FUZZING_BUILD_MODE_UNSAFE_FOR_PRODUCTION
    Q_UNUSED(checksum)
    Q_UNUSED(data)
    Q_UNUSED(size)
    return true;
#else
    return movCrc32c(data, size) == checksum;
#endif
}
