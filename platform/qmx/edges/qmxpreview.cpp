// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/edges/qmxpreview.h"

#include "platform/qmx/core/qmxenvironment.h"
#include "platform/qmx/core/qmxerror.h"
#include "platform/qmx/core/qmxloglevel.h"
#include "platform/qmx/core/qmxplaces.h"
#include "platform/qmx/core/qmxsharedmemory.h"
#include "platform/qmx/edges/sharedwords.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <vector>

#include <sys/mman.h>
#include <unistd.h>

namespace {
constexpr quint64 magicNumber = 0x35'56'52'50'44'50'58'00; // "\0XPDPRV5", changes with the layout
constexpr int slotCount = 2;
constexpr int maximumPixels = QmxPreview::maximumWidth * QmxPreview::maximumHeight;
constexpr size_t textSize = 64;
constexpr size_t longTextSize = 128;
constexpr size_t sentencesSize = 512;

/// One picture as it lies in shared memory; whole words, so that it can be copied word by word.
struct Content
{
    qint64 tick;
    qint64 time;
    qint64 frameNumber;
    qint32 width;
    qint32 height;
    quint32 flags;
    quint16 aspectWidth;
    quint16 aspectHeight;
    double peaks[QmxPreviewPicture::channels];
    double momentaryLoudness;
    double shortTermLoudness;
    char timecode[textSize];
    char format[textSize];
    char connection[longTextSize];
    char input[sentencesSize];
    char outputs[sentencesSize];
    uchar pixels[maximumPixels * 3 / 2];
};
static_assert(sizeof(Content) % sizeof(quint64) == 0);
static_assert(offsetof(Content, pixels) % sizeof(quint64) == 0);

enum Flag : quint32 { Capture = 1, Repeat = 2, HasPicture = 4 };

struct Slot
{
    std::atomic<quint64> sequence;
    Content content;
};

struct Layout
{
    std::atomic<quint64> magic; ///< written last
    std::atomic<quint64> count; ///< pictures published; the newest is in slot count % slotCount
    std::atomic<qint64> pid;
    Slot slot[slotCount];
};
static_assert(std::atomic<quint64>::is_always_lock_free);

template <size_t size>
void setText(char (&field)[size], const QString &text)
{
    const QByteArray bytes = text.toUtf8().left(size - 1);
    std::memset(field, 0, size);
    std::memcpy(field, bytes.constData(), size_t(bytes.size()));
}

template <size_t size>
QString text(const char (&field)[size])
{
    return QString::fromUtf8(field, qsizetype(strnlen(field, size)));
}

size_t contentBytes(int width, int height)
{
    return offsetof(Content, pixels) + size_t(width) * size_t(height) * 3 / 2;
}
} // namespace

QString QmxPreview::defaultName()
{
    return QmxEnvironment::current().places->preview;
}

struct QmxPreviewWriter::Private
{
    QString name;
    std::unique_ptr<QmxSharedMemory> memory;
    Layout *shared = nullptr;
    Content content{};
};

QmxPreviewWriter::QmxPreviewWriter(const QString &name) : d(std::make_unique<Private>())
{
    d->name = name;
    constexpr mode_t everybodyReads = 0644;
    d->memory = QmxSharedMemory::make(name, sizeof(Layout), everybodyReads, QmxSharedMemory::Existing::Keep);
    if (!d->memory) {
        qmxLogOutput(QmxLogLevel::Warning, "qmxpreview", __LINE__,
                     "There is no preview: shared memory %s cannot be made: %s\n", qUtf8Printable(name),
                     qUtf8Printable(QmxError(errno).toString()));
        return;
    }
    d->shared = reinterpret_cast<Layout *>(d->memory->data());
    d->shared->pid = getpid();
    // A writer that was killed in the middle of a picture has left an odd number.
    for (Slot &slot : d->shared->slot)
        slot.sequence = slot.sequence.load() / 2 * 2;
    d->shared->magic = magicNumber;
}

QmxPreviewWriter::~QmxPreviewWriter()
{
    if (!d->shared) return;
    if (d->shared->pid == getpid()) QmxSharedMemory::removeName(d->name);
}

bool QmxPreviewWriter::isOpen() const
{
    return d->shared;
}

void QmxPreviewWriter::write(const QmxPreviewPicture &picture)
{
    const int pixels = picture.width * picture.height;
    if (!d->shared || pixels < 0 || pixels > maximumPixels || picture.luma.size() < pixels ||
        picture.cb.size() < pixels / 4 || picture.cr.size() < pixels / 4)
        return;
    Content &c = d->content;
    c.tick = picture.tick;
    c.time = picture.time;
    c.frameNumber = picture.frameNumber;
    c.width = picture.width;
    c.height = picture.height;
    c.aspectWidth = quint16(picture.aspectWidth);
    c.aspectHeight = quint16(picture.aspectHeight);
    c.flags = (picture.isCapture ? Capture : 0u) | (picture.isRepeat ? Repeat : 0u) |
              (picture.hasPicture ? HasPicture : 0u);
    std::copy(picture.peaks.begin(), picture.peaks.end(), c.peaks);
    c.momentaryLoudness = picture.momentaryLoudness;
    c.shortTermLoudness = picture.shortTermLoudness;
    setText(c.timecode, picture.timecode);
    setText(c.format, picture.format);
    setText(c.connection, picture.connection);
    setText(c.input, picture.input);
    setText(c.outputs, picture.outputs);
    std::memcpy(c.pixels, picture.luma.constData(), size_t(pixels));
    std::memcpy(c.pixels + pixels, picture.cb.constData(), size_t(pixels / 4));
    std::memcpy(c.pixels + pixels + pixels / 4, picture.cr.constData(), size_t(pixels / 4));

    const quint64 count = d->shared->count.load(std::memory_order_relaxed) + 1;
    Slot &slot = d->shared->slot[count % slotCount];
    const quint64 sequence = slot.sequence.load(std::memory_order_relaxed);
    slot.sequence.store(sequence + 1, std::memory_order_relaxed);
    std::atomic_thread_fence(std::memory_order_release);
    copySharedWords(&slot.content, &c, contentBytes(c.width, c.height), true);
    slot.sequence.store(sequence + 2, std::memory_order_release);
    d->shared->count.store(count, std::memory_order_release);
}

struct QmxPreviewReader::Private
{
    std::unique_ptr<QmxSharedMemory> memory;
    Layout *shared = nullptr;
    Content content{};

    void close()
    {
        shared = nullptr;
        memory.reset();
    }
};

QmxPreviewReader::QmxPreviewReader() : d(std::make_unique<Private>()) {}

QmxPreviewReader::~QmxPreviewReader()
{
    d->close();
}

bool QmxPreviewReader::open(const QString &name)
{
    d->close();
    d->memory = QmxSharedMemory::open(name, QmxSharedMemory::Access::Read, sizeof(Layout));
    if (d->memory) d->shared = reinterpret_cast<Layout *>(d->memory->data());
    if (d->shared && d->shared->magic != magicNumber) d->close();
    return d->shared;
}

quint64 QmxPreviewReader::count() const
{
    return d->shared ? d->shared->count.load(std::memory_order_acquire) : 0;
}

bool QmxPreviewReader::read(QmxPreviewPicture &picture)
{
    return take(picture, true);
}

bool QmxPreviewReader::readTexts(QmxPreviewPicture &picture)
{
    return take(picture, false);
}

bool QmxPreviewReader::take(QmxPreviewPicture &picture, bool withPixels)
{
    if (!d->shared) return false;
    Content &c = d->content;
    // Only a writer that publishes faster than this can copy makes a second try necessary.
    constexpr int tries = 100;
    for (int i = 0; i < tries; ++i) {
        const quint64 newest = count();
        if (newest == 0) return false;
        Slot &slot = d->shared->slot[newest % slotCount];
        const quint64 before = slot.sequence.load(std::memory_order_acquire);
        if (before % 2 != 0) continue;
        copySharedWords(&c, &slot.content, offsetof(Content, pixels), false);
        const bool sane = c.width >= 0 && c.width <= QmxPreview::maximumWidth && c.height >= 0 &&
                          c.height <= QmxPreview::maximumHeight;
        if (sane && withPixels)
            copySharedWords(c.pixels, slot.content.pixels,
                            contentBytes(c.width, c.height) - offsetof(Content, pixels), false);
        std::atomic_thread_fence(std::memory_order_acquire);
        if (!sane || slot.sequence.load(std::memory_order_relaxed) != before) continue;
        picture.width = c.width;
        picture.height = c.height;
        picture.aspectWidth = c.aspectWidth;
        picture.aspectHeight = c.aspectHeight;
        if (withPixels) {
            const int pixels = c.width * c.height;
            const auto *bytes = reinterpret_cast<const char *>(c.pixels);
            picture.luma = QByteArray(bytes, pixels);
            picture.cb = QByteArray(bytes + pixels, pixels / 4);
            picture.cr = QByteArray(bytes + pixels + pixels / 4, pixels / 4);
        }
        picture.tick = c.tick;
        picture.time = c.time;
        picture.frameNumber = c.frameNumber;
        picture.timecode = text(c.timecode);
        picture.format = text(c.format);
        picture.connection = text(c.connection);
        picture.input = text(c.input);
        picture.outputs = text(c.outputs);
        picture.isCapture = c.flags & Capture;
        picture.isRepeat = c.flags & Repeat;
        picture.hasPicture = c.flags & HasPicture;
        std::copy(std::begin(c.peaks), std::end(c.peaks), picture.peaks.begin());
        picture.momentaryLoudness = c.momentaryLoudness;
        picture.shortTermLoudness = c.shortTermLoudness;
        return true;
    }
    return false;
}
