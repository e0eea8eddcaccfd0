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

/// What is behind a part counts for its sum like so many zeros: a linear map, byte by byte.
constexpr size_t partSize = MovCrcParts::partSize;
using ZerosTable = std::array<std::array<quint32, 256>, 4>;

constexpr ZerosTable makeZeros()
{
    std::array<quint32, 32> bits{}; // what each bit of a sum becomes
    for (size_t i = 0; i < bits.size(); ++i) {
        const quint32 bit = quint32(1) << i;
        bits[i] = bit >> 8 ^ table[bit & 0xff]; // by one byte
    }
    for (size_t bytes = 1; bytes < partSize; bytes *= 2) {
        std::array<quint32, 32> twice{};
        for (size_t i = 0; i < bits.size(); ++i)
            for (size_t bit = 0; bit < bits.size(); ++bit)
                if (bits[i] >> bit & 1) twice[i] ^= bits[bit];
        bits = twice;
    }
    ZerosTable zeros{};
    for (size_t byte = 0; byte < zeros.size(); ++byte)
        for (size_t value = 0; value < zeros[byte].size(); ++value)
            for (size_t bit = 0; bit < 8; ++bit)
                if (value >> bit & 1) zeros[byte][value] ^= bits[8 * byte + bit];
    return zeros;
}

constexpr auto zeros = makeZeros();

quint32 behindPart(quint32 crc)
{
    return zeros[0][crc & 0xff] ^ zeros[1][crc >> 8 & 0xff] ^ zeros[2][crc >> 16 & 0xff] ^
           zeros[3][crc >> 24];
}

#ifdef __x86_64__
unsigned long long wordAt(const uchar *data)
{
    unsigned long long word;
    std::memcpy(&word, data, sizeof word);
    return word;
}

/// The instruction takes a word every cycle and three cycles for each: three parts are summed beside each
/// other.
__attribute__((target("sse4.2"))) quint32 crcInstruction(const uchar *data, size_t size, quint32 crc)
{
    for (; size >= 3 * partSize; data += 3 * partSize, size -= 3 * partSize) {
        unsigned long long first = crc;
        unsigned long long second = 0;
        unsigned long long third = 0;
        for (size_t i = 0; i < partSize; i += 8) {
            first = __builtin_ia32_crc32di(first, wordAt(data + i));
            second = __builtin_ia32_crc32di(second, wordAt(data + partSize + i));
            third = __builtin_ia32_crc32di(third, wordAt(data + 2 * partSize + i));
        }
        crc = behindPart(behindPart(quint32(first)) ^ quint32(second)) ^ quint32(third);
    }
    unsigned long long wide = crc;
    for (; size >= 8; data += 8, size -= 8)
        wide = __builtin_ia32_crc32di(wide, wordAt(data));
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

void MovCrcParts::addPart(quint32 sum)
{
    _value = ~(behindPart(~_value) ^ sum);
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
