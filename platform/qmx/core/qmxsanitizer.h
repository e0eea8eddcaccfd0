// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtGlobal>

/// Memory that this program keeps for itself (a pool's free blocks, the gaps between its blocks) and that
/// nobody else may touch: AddressSanitizer, which knows the system's allocator only, is told of it. Nothing
/// is done in a program that it does not watch. Any thread.
// (Asked of the compiler by its own word first: Qt gives the other one to those that have none.)
#ifdef __SANITIZE_ADDRESS__
#define QMX_HAS_ADDRESS_SANITIZER 1
#elif defined(__has_feature)
#define QMX_HAS_ADDRESS_SANITIZER __has_feature(address_sanitizer)
#else
#define QMX_HAS_ADDRESS_SANITIZER 0
#endif

#if QMX_HAS_ADDRESS_SANITIZER
#include <sanitizer/asan_interface.h>

/// Bytes between two blocks, so that an overrun of one does not end in the next.
inline constexpr qsizetype qmxPoisonGap = 4096;

inline void qmxPoison(const void *memory, qsizetype size)
{
    __asan_poison_memory_region(memory, size_t(size));
}

inline void qmxUnpoison(const void *memory, qsizetype size)
{
    __asan_unpoison_memory_region(memory, size_t(size));
}
#else
inline constexpr qsizetype qmxPoisonGap = 0;
inline void qmxPoison(const void *, qsizetype) {}
inline void qmxUnpoison(const void *, qsizetype) {}
#endif
