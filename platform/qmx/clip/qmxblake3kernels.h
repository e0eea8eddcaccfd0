// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtGlobal>

#include <cstddef>

/// The compression function of BLAKE3 over many inputs at once, compiled for every instruction set. Numbers
/// are in the byte order of the machine, which is little-endian as that of the digest.
namespace QmxBlake3Kernels {

constexpr quint32 chunkStart = 1;
constexpr quint32 chunkEnd = 2;
constexpr quint32 parent = 4;
constexpr quint32 root = 8;

constexpr quint32 start[8] = {0x6A09E667, 0xBB67AE85, 0x3C6EF372, 0xA54FF53A,
                              0x510E527F, 0x9B05688C, 0x1F83D9AB, 0x5BE0CD19};
/// Which word of a block each step of a round takes, round by round.
constexpr int rounds = 7;
struct Schedule
{
    int words[rounds][16];
};
constexpr Schedule makeSchedule()
{
    constexpr int next[16] = {2, 6, 3, 10, 7, 0, 4, 13, 1, 11, 12, 5, 9, 14, 15, 8};
    Schedule schedule{};
    for (int i = 0; i < 16; ++i)
        schedule.words[0][i] = i;
    for (int round = 1; round < rounds; ++round)
        for (int i = 0; i < 16; ++i)
            schedule.words[round][i] = schedule.words[round - 1][next[i]];
    return schedule;
}
inline constexpr Schedule schedule = makeSchedule();

constexpr int blockSize = 64;

/// Equally long inputs of whole blocks that follow each other at a distance.
struct Inputs
{
    const uchar *data;
    size_t distance;
    size_t count;
    int blocks;      ///< of each
    quint64 counter; ///< of the first
    bool counts;     ///< the counter grows by one from input to input
    quint32 flags;   ///< of every block
    quint32 first;   ///< more flags of an input's first block
    quint32 last;    ///< and of its last one
    /// Gets the CRC-32C of each input, begun with zero and not inverted: the processor has time for it beside
    /// the hash. Null: not wanted.
    quint32 *sums = nullptr;
};

/// One block: `value` becomes the next chaining value.
void compress(quint32 *value, const uchar *block, quint32 length, quint64 counter, quint32 flags);
/// Eight words for each input. `values` may lie at the start of the data when these are parents.
void hashAll(const Inputs &inputs, quint32 *values);
/// Whether hashAll() makes sums on this processor.
bool makesSums();

} // namespace QmxBlake3Kernels
