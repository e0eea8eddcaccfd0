// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtGlobal>

/// A range of reserved address space from which blocks are cut, one after the other; never given back.
/// Not thread-safe: the pool's lock covers it.
class QmxMemoryRegion
{
public:
    /// Reserves up to `bytes` of address space (less when the process may not have so much); memory comes
    /// with use. `huge`: huge pages, which the system sets aside at once. False: none to be had.
    bool reserve(size_t bytes, bool huge);
    bool isHuge() const { return _huge; }
    size_t size() const { return _size; }
    /// Cuts the next block off; null when the range is used up or memory is refused.
    uchar *cut(size_t bytes);
    /// Gives the memory of a block back to the system; its address stays.
    static void discard(uchar *block, size_t bytes);
    /// Huge pages of 2 MiB free in this machine, in bytes.
    static size_t freeHugePages();

private:
    uchar *_base = nullptr;
    size_t _size = 0;
    size_t _used = 0;
    bool _huge = false;
};
