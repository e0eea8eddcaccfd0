// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/product/shmstring.h"

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstring>

#include <sched.h>

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

ShmString::~ShmString() = default;

bool ShmString::create(int size)
{
    if (_data || size < static_cast<int>(minimumSize) || size % static_cast<int>(wordSize) != 0) return false;
    _memory = QmxSharedMemory::make(QString::fromStdString(_name), size, segmentMode,
                                    QmxSharedMemory::Existing::Keep);
    if (!_memory) return false;
    _data = _memory->data();
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

ShmStringReader::~ShmStringReader() = default;

bool ShmStringReader::open()
{
    if (_data) return true;
    _memory =
        QmxSharedMemory::open(QString::fromStdString(_name), QmxSharedMemory::Access::Read, minimumSize);
    if (_memory && _memory->size() % qsizetype(wordSize) != 0) _memory.reset();
    if (!_memory) return false;
    _data = _memory->data();
    _size = static_cast<std::size_t>(_memory->size());
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
