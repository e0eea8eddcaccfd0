// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/core/qmxmemoryregion.h"

#include <cstdio>
#include <sys/mman.h>

static constexpr size_t hugePage = 2 * 1024 * 1024;

bool QmxMemoryRegion::reserve(size_t bytes, bool huge)
{
    constexpr size_t least = 64 * 1024 * 1024;
    _huge = huge;
    for (size_t size = bytes; size >= (huge ? hugePage : least); size /= 2) {
        if (huge) size -= size % hugePage;
        const int protection = huge ? PROT_READ | PROT_WRITE : PROT_NONE;
        const int flags = MAP_PRIVATE | MAP_ANONYMOUS | (huge ? MAP_HUGETLB : MAP_NORESERVE);
        void *base = mmap(nullptr, size, protection, flags, -1, 0);
        if (base == MAP_FAILED) continue;
        _base = static_cast<uchar *>(base);
        _size = size;
        return true;
    }
    return false;
}

uchar *QmxMemoryRegion::cut(size_t bytes)
{
    if (bytes > _size - _used) return nullptr;
    uchar *block = _base + _used;
    if (!_huge && mprotect(block, bytes, PROT_READ | PROT_WRITE) != 0) return nullptr;
    _used += bytes;
    return block;
}

void QmxMemoryRegion::discard(uchar *block, size_t bytes)
{
    madvise(block, bytes, MADV_DONTNEED);
}

size_t QmxMemoryRegion::freeHugePages()
{
    FILE *file = std::fopen("/sys/kernel/mm/hugepages/hugepages-2048kB/free_hugepages", "re");
    if (!file) return 0;
    size_t pages = 0;
    if (std::fscanf(file, "%zu", &pages) != 1) pages = 0;
    std::fclose(file);
    return pages * hugePage;
}
