// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/product/shmstring.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdint>
#include <cstring>

#include <fcntl.h>
#include <sched.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using Word = std::uint64_t;
using Sequence = std::atomic_ref<Word>;

constexpr std::size_t wordSize = sizeof(Word);
constexpr std::size_t minimumSize = 2 * wordSize;
constexpr mode_t segmentMode = 0664; // everybody may look at a timecode
constexpr int attempts = 1000;

Word *words(unsigned char *data)
{
    return reinterpret_cast<Word *>(data); // a mapping begins at a page
}

/// The counter takes the last word, the text all others.
std::size_t textWords(std::size_t size)
{
    return size / wordSize - 1;
}

} // namespace

ShmString::ShmString(const std::string &name) : _name(name) {}

ShmString::~ShmString()
{
    if (_data) ::munmap(_data, _size);
}

bool ShmString::create(int size)
{
    if (_data || size < static_cast<int>(minimumSize) || size % static_cast<int>(wordSize) != 0) return false;
    const int fd = ::shm_open(_name.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, segmentMode);
    if (fd < 0) return false;
    struct stat info
    {};
    bool done = ::fstat(fd, &info) == 0;
    // Only the owner may; one left behind by another owner keeps its rights.
    if (done && (info.st_mode & 0777) != segmentMode && ::fchmod(fd, segmentMode) != 0) done = errno == EPERM;
    // Taken over as it is: readers that have it mapped go on.
    done = done && (info.st_size == size || ::ftruncate(fd, size) == 0);
    void *mapped =
        done ? ::mmap(nullptr, static_cast<std::size_t>(size), PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0)
             : MAP_FAILED;
    ::close(fd);
    if (mapped == MAP_FAILED) return false;
    _data = static_cast<unsigned char *>(mapped);
    _size = static_cast<std::size_t>(size);
    set("");
    return true;
}

void ShmString::set(const char *text)
{
    if (!_data || !text) return;
    Word *const target = words(_data);
    const std::size_t count = textWords(_size);
    const std::size_t room = count * wordSize - 1;
    const std::size_t length = ::strnlen(text, room);
    Sequence sequence(target[count]);
    // Odd while writing. A predecessor that died in the middle has left it odd.
    const Word before = sequence.load(std::memory_order_relaxed) | 1U;
    sequence.store(before, std::memory_order_relaxed);
    std::atomic_thread_fence(std::memory_order_release);
    for (std::size_t i = 0; i < count; ++i) {
        Word word = 0;
        if (i * wordSize < length)
            std::memcpy(&word, text + i * wordSize, std::min(wordSize, length - i * wordSize));
        Sequence(target[i]).store(word, std::memory_order_relaxed);
    }
    sequence.store(before + 1, std::memory_order_release);
}

ShmStringReader::ShmStringReader(const std::string &name) : _name(name) {}

ShmStringReader::~ShmStringReader()
{
    if (_data) ::munmap(const_cast<unsigned char *>(_data), _size);
}

bool ShmStringReader::open()
{
    if (_data) return true;
    const int fd = ::shm_open(_name.c_str(), O_RDONLY | O_CLOEXEC, 0);
    if (fd < 0) return false;
    struct stat info
    {};
    const bool fits = ::fstat(fd, &info) == 0 && info.st_size >= static_cast<off_t>(minimumSize) &&
                      info.st_size % static_cast<off_t>(wordSize) == 0;
    void *mapped = fits
                       ? ::mmap(nullptr, static_cast<std::size_t>(info.st_size), PROT_READ, MAP_SHARED, fd, 0)
                       : MAP_FAILED;
    ::close(fd);
    if (mapped == MAP_FAILED) return false;
    _data = static_cast<const unsigned char *>(mapped);
    _size = static_cast<std::size_t>(info.st_size);
    return true;
}

bool ShmStringReader::get(std::string &text)
{
    if (!open()) return false;
    // Read-only memory: loads only, which atomic_ref cannot say.
    Word *const source = words(const_cast<unsigned char *>(_data));
    const std::size_t count = textWords(_size);
    const Sequence sequence(source[count]);
    std::string copy(count * wordSize, '\0');
    for (int attempt = 0; attempt < attempts; ++attempt) {
        const Word before = sequence.load(std::memory_order_acquire);
        if (before % 2 == 0) {
            for (std::size_t i = 0; i < count; ++i) {
                const Word word = Sequence(source[i]).load(std::memory_order_relaxed);
                std::memcpy(copy.data() + i * wordSize, &word, wordSize);
            }
            std::atomic_thread_fence(std::memory_order_acquire);
            if (sequence.load(std::memory_order_relaxed) == before) {
                text.assign(copy.c_str());
                return true;
            }
        }
        ::sched_yield();
    }
    return false;
}
