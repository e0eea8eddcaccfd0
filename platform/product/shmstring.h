// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxsharedmemory.h"

#include <cstddef>
#include <memory>
#include <string>

/// A short text in shared memory, written at frame rate by one process and read by any.
///
/// The segment holds the text from byte 0, NUL-terminated, and in its last 8 bytes a sequence counter: odd
/// while a text is being written. One thread writes. The segment outlives the writer.
class ShmString
{
public:
    explicit ShmString(const std::string &name);
    ~ShmString();
    ShmString(const ShmString &) = delete;
    ShmString &operator=(const ShmString &) = delete;

    /// Makes the segment, or takes over one that was left behind. `size` in bytes, the counter included:
    /// a multiple of 8, at least 16. False when it cannot be made; set() then does nothing.
    bool create(int size);
    /// A text that is too long is cut. Never blocks, no allocation.
    void set(const char *text);

private:
    std::string _name;
    std::unique_ptr<QmxSharedMemory> _memory;
    unsigned char *_data = nullptr;
    std::size_t _size = 0;
};

/// Reads what a ShmString of another process (or this one) holds. One thread at a time.
class ShmStringReader
{
public:
    explicit ShmStringReader(const std::string &name);
    ~ShmStringReader();
    ShmStringReader(const ShmStringReader &) = delete;
    ShmStringReader &operator=(const ShmStringReader &) = delete;

    /// The text of one moment, never parts of two. False when there is no such segment, or when its writer
    /// was always found writing (it may have died in the middle).
    bool get(std::string &text);

private:
    bool open();

    std::string _name;
    std::unique_ptr<QmxSharedMemory> _memory;
    const unsigned char *_data = nullptr;
    std::size_t _size = 0;
};
