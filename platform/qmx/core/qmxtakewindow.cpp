// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/core/qmxtakewindow.h"

#include "platform/qmx/core/qmxenvironment.h"
#include "platform/qmx/core/qmxplaces.h"
#include "platform/qmx/core/qmxsharedmemory.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {
constexpr quint32 magic = 0x57505833; // changes with the layout
constexpr mode_t mode = 0660;         // whoever may operate the recorder, and nobody else
constexpr qint64 lookEvery = QmxClock::nsPerSecond;
constexpr int attempts = 100;

template <std::size_t N>
using Values = std::array<std::atomic<qint64>, N>;

/// Values of one moment, under a sequence that is odd while they are written. Host byte order.
template <std::size_t N>
struct Half
{
    std::atomic<quint32> sequence;
    Values<N> values;

    void write(const std::array<qint64, N> &now)
    {
        const quint32 before = sequence.load(std::memory_order_relaxed) | 1U;
        sequence.store(before, std::memory_order_relaxed);
        std::atomic_thread_fence(std::memory_order_release);
        for (std::size_t i = 0; i < N; ++i)
            values[i].store(now[i], std::memory_order_relaxed);
        sequence.store(before + 1, std::memory_order_release);
    }
    /// The sequence under which all were read; 0: never written, or its writer died in the middle.
    quint32 read(std::array<qint64, N> &now) const
    {
        for (int i = 0; i < attempts; ++i) {
            const quint32 before = sequence.load(std::memory_order_acquire);
            for (std::size_t at = 0; at < N; ++at)
                now[at] = values[at].load(std::memory_order_relaxed);
            std::atomic_thread_fence(std::memory_order_acquire);
            if (before % 2 == 0 && sequence.load(std::memory_order_relaxed) == before) return before;
        }
        return 0;
    }
};

struct Table
{
    std::atomic<quint32> magic;
    Half<6> now;    ///< the recorder's
    Half<2> window; ///< a companion's
};

Table *map(int fd)
{
    void *memory = mmap(nullptr, sizeof(Table), PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
    return memory == MAP_FAILED ? nullptr : static_cast<Table *>(memory);
}

/// A byte each: hours, minutes, seconds, frames, frames a second, drop frame; -1: not valid.
qint64 packed(const QmxTimecode &timecode)
{
    if (!timecode.isValid()) return -1;
    qint64 value = 0;
    for (const int part : {timecode.hours(), timecode.minutes(), timecode.seconds(), timecode.frames(),
                           timecode.fps(), int(timecode.isDropFrame())})
        value = value << 8 | (part & 0xFF);
    return value;
}

QmxTimecode unpacked(qint64 value)
{
    const auto part = [value](int place) { return int(value >> 8 * place & 0xFF); };
    return value < 0 ? QmxTimecode() : QmxTimecode(part(5), part(4), part(3), part(2), part(1), part(0));
}

struct flock wholeFile()
{
    struct flock lock = {};
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    return lock;
}
} // namespace

namespace QmxTakeWindow {

struct Board::Private
{
    const QString name = QmxEnvironment::current().places->takeWindow;
    Table own{};
    Table *table = &own;
    std::unique_ptr<QmxSharedMemory> memory; ///< the kernel lets go of its lock when the process ends
};

Board::Board() : d(std::make_unique<Private>()) {}

Board::~Board() = default;

bool Board::publish()
{
    if (d->table != &d->own) return true;
    struct flock lock = wholeFile();
    const int old = QmxSharedMemory::openTrusted(d->name, QmxSharedMemory::Access::Write);
    if (old >= 0) {
        const bool taken = fcntl(old, F_OFD_GETLK, &lock) == 0 && lock.l_type != F_UNLCK;
        close(old);
        errno = EBUSY;
        if (taken) return false;
    }
    // Whoever has the old one sees it stand still.
    auto memory = QmxSharedMemory::make(d->name, sizeof(Table), mode, QmxSharedMemory::Existing::Replace);
    if (!memory) return false;
    lock = wholeFile();
    if (fcntl(memory->descriptor(), F_OFD_SETLK, &lock) != 0) {
        const int reason = errno;
        QmxSharedMemory::removeName(d->name);
        errno = reason;
        return false;
    }
    auto *table = reinterpret_cast<Table *>(memory->data());
    table->magic.store(magic, std::memory_order_release);
    d->table = table;
    d->memory = std::move(memory);
    return true;
}

void Board::tell(const Now &now)
{
    d->table->now.write({now.index, now.frame, now.first, now.moment, now.period, packed(now.timecode)});
}

Window Board::window() const
{
    std::array<qint64, 2> set{};
    const quint32 serial = d->table->window.read(set);
    return serial == 0 ? Window{} : Window{serial, set[0], set[1]};
}

void Board::set(qint64 in, qint64 out)
{
    d->table->window.write({in, out});
}

struct Client::Private
{
    Table *table = nullptr;
    ino_t inode = 0;
    qint64 lookedAt = 0;
    QmxEnvironment environment = QmxEnvironment::current();

    ~Private() { unmap(); }
    void unmap()
    {
        if (table) munmap(table, sizeof(Table));
        table = nullptr;
    }
    bool open();
};

bool Client::Private::open()
{
    const qint64 now = environment.clock->now();
    if (lookedAt != 0 && now - lookedAt < lookEvery) return table != nullptr;
    lookedAt = now;
    const int fd =
        QmxSharedMemory::openTrusted(environment.places->takeWindow, QmxSharedMemory::Access::Write);
    struct stat info = {};
    const bool isThere = fd >= 0 && fstat(fd, &info) == 0 && info.st_size >= off_t(sizeof(Table));
    if (!isThere || info.st_ino != inode || !table) {
        unmap();
        if (isThere) table = map(fd);
        inode = info.st_ino;
    }
    if (fd >= 0) close(fd);
    return table && table->magic.load(std::memory_order_acquire) == magic;
}

Client::Client() : d(std::make_unique<Private>()) {}
Client::~Client() = default;

std::optional<Now> Client::now()
{
    std::array<qint64, 6> told{};
    if (!d->open() || d->table->now.read(told) == 0) return std::nullopt;
    return Now{told[0], told[1], told[2], told[3], told[4], unpacked(told[5])};
}

bool Client::set(qint64 in, qint64 out)
{
    if (!d->open()) return false;
    d->table->window.write({in, out});
    return true;
}

} // namespace QmxTakeWindow
