// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtGlobal>

#include <atomic>

/// Copies between own memory and memory that another process may be touching at the same moment, word by
/// word; a sequence counter beside the words tells whether the copy is whole. Rounds `bytes` up to whole
/// words.
inline void copySharedWords(void *to, const void *from, size_t bytes, bool toShared)
{
    auto *target = static_cast<quint64 *>(to);
    auto *source = static_cast<quint64 *>(const_cast<void *>(from));
    const size_t words = (bytes + sizeof(quint64) - 1) / sizeof(quint64);
    for (size_t i = 0; i < words; ++i) {
        if (toShared)
            std::atomic_ref(target[i]).store(source[i], std::memory_order_relaxed);
        else
            target[i] = std::atomic_ref(source[i]).load(std::memory_order_relaxed);
    }
}
