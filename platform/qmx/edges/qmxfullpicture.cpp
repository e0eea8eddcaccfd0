// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/edges/qmxfullpicture.h"

#include "platform/qmx/core/qmxerror.h"
#include "platform/qmx/core/qmxloglevel.h"
#include "platform/qmx/core/qmxsharedmemory.h"
#include "platform/qmx/edges/sharedwords.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstddef>

namespace {
constexpr quint64 magicNumber = 0x31'4C'55'46'50'58'00; // "\0XPFUL1", changes with the layout
constexpr size_t mostSamples = size_t(QmxFullPicture::maximumWidth) * QmxFullPicture::maximumHeight;
} // namespace

struct QmxFullPictureWriter::Layout
{
    std::atomic<quint64> magic; ///< written last
    std::atomic<quint64> asked;
    std::atomic<quint64> served;   ///< the `asked` that the picture answers
    std::atomic<quint64> sequence; ///< odd while it is being written
    qint64 width;
    qint64 height;
    qint64 format;
    quint16 samples[3][mostSamples];
};

namespace {
constexpr mode_t groupWrites = 0664; // both sides write: the one pictures, the other that it wants one
}

QmxFullPictureWriter::QmxFullPictureWriter(const QString &name)
{
    // Room for samples is asked for with a picture: pages that nobody touches cost nothing.
    _memory = QmxSharedMemory::make(name, sizeof(Layout), groupWrites, QmxSharedMemory::Existing::Keep,
                                    offsetof(Layout, samples));
    if (!_memory) {
        qmxLogOutput(
            QmxLogLevel::Warning, "qmxfullpicture", __LINE__,
            "There are no pictures in full size for companions: shared memory %s cannot be made: %s\n",
            qUtf8Printable(name), qUtf8Printable(QmxError(errno).toString()));
        return;
    }
    _shared = reinterpret_cast<Layout *>(_memory->data());
    _served = _shared->asked;
    _shared->served = _served;
    _shared->sequence = 0;
    _shared->magic = magicNumber;
}

QmxFullPictureWriter::~QmxFullPictureWriter() = default;

/// Memory that is not there would end the program at the first sample.
bool QmxFullPictureWriter::hasRoom(int height) const
{
    for (int plane = 0; plane < 3; ++plane) {
        const size_t from = offsetof(Layout, samples) + size_t(plane) * mostSamples * sizeof(quint16);
        const size_t size = size_t(height) * QmxFullPicture::maximumWidth * sizeof(quint16);
        if (!QmxSharedMemory::reserve(_memory->descriptor(), qsizetype(from), qsizetype(size))) return false;
    }
    return true;
}

quint64 QmxFullPictureWriter::asked() const
{
    return _shared ? _shared->asked.load(std::memory_order_acquire) : 0;
}

void QmxFullPictureWriter::offer(const QmxPicture &picture)
{
    const quint64 asked = this->asked();
    if (asked == _served) return;
    _served = asked;
    const quint64 sequence = _shared->sequence.load(std::memory_order_relaxed);
    _shared->sequence.store(sequence + 1, std::memory_order_relaxed);
    std::atomic_thread_fence(std::memory_order_release);
    const bool fits = picture.isValid() && picture.width() <= QmxFullPicture::maximumWidth &&
                      picture.height() <= QmxFullPicture::maximumHeight && hasRoom(picture.height());
    const qint64 head[] = {fits ? picture.width() : 0, fits ? picture.height() : 0, qint64(picture.format())};
    copySharedWords(&_shared->width, head, sizeof head, true);
    // (Rows lie at whole words: the widths of pictures are even, and each row has its place.)
    for (int plane = 0; plane < (fits ? 3 : 0); ++plane)
        for (int y = 0; y < picture.height(); ++y)
            copySharedWords(_shared->samples[plane] + size_t(y) * QmxFullPicture::maximumWidth,
                            picture.row(plane, y), size_t(picture.planeWidth(plane)) * sizeof(quint16), true);
    _shared->sequence.store(sequence + 2, std::memory_order_release);
    _shared->served.store(asked, std::memory_order_release);
}

QmxFullPictureReader::QmxFullPictureReader() = default;
QmxFullPictureReader::~QmxFullPictureReader() = default;

bool QmxFullPictureReader::open(const QString &name)
{
    using Layout = QmxFullPictureWriter::Layout;
    _memory = QmxSharedMemory::open(name, QmxSharedMemory::Access::Write, sizeof(Layout));
    _shared = _memory ? reinterpret_cast<Layout *>(_memory->data()) : nullptr;
    return _shared && _shared->magic == magicNumber;
}

void QmxFullPictureReader::ask()
{
    _asked = _shared->asked.fetch_add(1) + 1;
}

bool QmxFullPictureReader::read(QmxFullPicture &picture)
{
    if (!_shared || _shared->served.load(std::memory_order_acquire) < _asked) return false;
    const quint64 before = _shared->sequence.load(std::memory_order_acquire);
    qint64 head[3] = {};
    copySharedWords(head, &_shared->width, sizeof head, false);
    const bool sane = head[0] >= 0 && head[0] <= QmxFullPicture::maximumWidth && head[1] >= 0 &&
                      head[1] <= QmxFullPicture::maximumHeight && head[2] > 0 &&
                      head[2] <= qint64(QmxPicture::Format::Rgb444P10);
    if (before % 2 != 0 || (!sane && head[0] != 0)) return false;
    picture.width = int(head[0]);
    picture.height = int(head[1]);
    picture.format = QmxPicture::Format(head[2]);
    std::vector<quint16> row(QmxFullPicture::maximumWidth);
    for (int plane = 0; plane < (picture.width > 0 ? 3 : 0); ++plane) {
        const auto width = size_t(picture.planeWidth(plane));
        picture.planes[size_t(plane)].resize(width * size_t(picture.height));
        for (int y = 0; y < picture.height; ++y) {
            copySharedWords(row.data(), _shared->samples[plane] + size_t(y) * QmxFullPicture::maximumWidth,
                            width * sizeof(quint16), false);
            std::copy_n(row.begin(), width,
                        picture.planes[size_t(plane)].begin() + qsizetype(size_t(y) * width));
        }
    }
    std::atomic_thread_fence(std::memory_order_acquire);
    return _shared->sequence.load(std::memory_order_relaxed) == before;
}
