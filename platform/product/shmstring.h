// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
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
    unsigned char *_data = nullptr;
    std::size_t _size = 0;
};
