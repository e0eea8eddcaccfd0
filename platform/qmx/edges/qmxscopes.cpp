// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/edges/qmxscopes.h"

#include "platform/qmx/codec/qmxpicture.h"
#include "platform/qmx/core/qmxerror.h"
#include "platform/qmx/core/qmxloglevel.h"
#include "platform/qmx/core/qmxsharedmemory.h"
#include "platform/qmx/edges/sharedwords.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <vector>

#include <sys/mman.h>
#include <unistd.h>

namespace {
constexpr quint64 magicNumber = 0x32'45'50'43'53'50'58'00; // "\0XPSCPE2", changes with the layout
constexpr int neutral = 512;
constexpr int highest = 1023;
constexpr int levelShift = 2;

struct Layout
{
    std::atomic<quint64> magic; ///< written last
    std::atomic<quint64> asked;
    std::atomic<quint64> sequence; ///< odd while the scopes are being written
    std::atomic<qint64> pid;
    QmxScopes scopes;
};
static_assert(offsetof(Layout, scopes) % sizeof(quint64) == 0);
static_assert(sizeof(QmxScopes) % sizeof(quint64) == 0);

/// Weights of the colour differences in 1/65536, from and to legal range, and of red and blue in luma.
struct Matrix
{
    int redCr, greenCb, greenCr, blueCb;
    double red, blue;
};
constexpr Matrix bt709{100902, 12002, 29994, 118894, 0.2126, 0.0722};
constexpr Matrix bt601{89831, 22050, 45757, 113537, 0.299, 0.114};

int scaled(int value)
{
    return (value + 32768) >> 16;
}

struct Counts
{
    std::vector<quint32> waveform = std::vector<quint32>(size_t(QmxScopes::columns) * QmxScopes::levels);
    std::vector<quint32> parade =
        std::vector<quint32>(size_t(QmxScopes::paradeColumns) * 3 * QmxScopes::levels);
    std::vector<quint32> vectorscope = std::vector<quint32>(size_t(QmxScopes::levels) * QmxScopes::levels);

    static size_t row(int value)
    {
        return size_t(QmxScopes::levels - 1 - (std::clamp(value, 0, highest) >> levelShift));
    }
    void luma(int x, int width, int value)
    {
        ++waveform[row(value) * QmxScopes::columns + size_t(x * QmxScopes::columns / width)];
    }
    void colour(int x, int width, int channel, int value)
    {
        const int column = channel * QmxScopes::paradeColumns + x * QmxScopes::paradeColumns / width;
        ++parade[row(value) * QmxScopes::paradeColumns * 3 + size_t(column)];
    }
    void difference(int cb, int cr)
    {
        ++vectorscope[row(cr) * QmxScopes::levels + size_t(std::clamp(cb, 0, highest) >> levelShift)];
    }
};

void countYuv(const QmxPicture &picture, int y, const Matrix &matrix, Counts &counts)
{
    const int width = picture.width(), chromaWidth = picture.planeWidth(1), apart = width / chromaWidth;
    const quint16 *luma = picture.row(0, y), *cbs = picture.row(1, y), *crs = picture.row(2, y);
    for (int x = 0; x < width; ++x)
        counts.luma(x, width, luma[x]);
    for (int x = 0; x < chromaWidth; ++x) {
        const int cb = cbs[x] - neutral, cr = crs[x] - neutral, value = luma[x * apart];
        counts.difference(cbs[x], crs[x]);
        counts.colour(x, chromaWidth, 0, value + scaled(matrix.redCr * cr));
        counts.colour(x, chromaWidth, 1, value - scaled(matrix.greenCb * cb + matrix.greenCr * cr));
        counts.colour(x, chromaWidth, 2, value + scaled(matrix.blueCb * cb));
    }
}

/// Full range becomes legal range, so that one scale fits all formats.
void countRgb(const QmxPicture &picture, int y, const Matrix &matrix, Counts &counts)
{
    const auto legal = [](int value) { return 64 + value * 876 / highest; };
    const quint16 *reds = picture.row(0, y), *greens = picture.row(1, y), *blues = picture.row(2, y);
    const int width = picture.width();
    for (int x = 0; x < width; ++x) {
        const int red = legal(reds[x]), green = legal(greens[x]), blue = legal(blues[x]);
        const double luma = matrix.red * red + (1 - matrix.red - matrix.blue) * green + matrix.blue * blue;
        counts.luma(x, width, int(std::lround(luma)));
        counts.colour(x, width, 0, red);
        counts.colour(x, width, 1, green);
        counts.colour(x, width, 2, blue);
        constexpr double chroma = 896.0 / 876.0;
        counts.difference(neutral + int(std::lround((blue - luma) / (2 - 2 * matrix.blue) * chroma)),
                          neutral + int(std::lround((red - luma) / (2 - 2 * matrix.red) * chroma)));
    }
}

/// Few samples are to be seen, many not to blind: the root of the count.
template <typename Tile>
void light(const std::vector<quint32> &counts, double gain, Tile &tile)
{
    for (size_t i = 0; i < counts.size(); ++i)
        tile[i] = counts[i] == 0 ? 0 : uchar(std::min(255.0, std::ceil(gain * std::sqrt(double(counts[i])))));
}
} // namespace

void QmxScopes::measure(const QmxPicture &picture, int lines, QmxScopes &scopes)
{
    constexpr double lineGain = 28, vectorGain = 8;
    Counts counts;
    // Odd, so that both fields are seen.
    const int step = picture.height() > standardLines ? 3 : 1;
    const Matrix &matrix = lines > standardLines ? bt709 : bt601;
    scopes.lines = lines;
    for (int y = 0; y < picture.height(); y += step) {
        if (picture.format() == QmxPicture::Format::Rgb444P10)
            countRgb(picture, y, matrix, counts);
        else
            countYuv(picture, y, matrix, counts);
    }
    light(counts.waveform, lineGain, scopes.waveform);
    light(counts.parade, lineGain, scopes.parade);
    light(counts.vectorscope, vectorGain, scopes.vectorscope);
}

QString QmxScopes::nameBeside(const QString &preview)
{
    return preview + QStringLiteral("_scopes");
}

struct QmxScopesWriter::Private
{
    QString name;
    std::unique_ptr<QmxSharedMemory> memory;
    Layout *shared = nullptr;
};

QmxScopesWriter::QmxScopesWriter(const QString &name) : d(std::make_unique<Private>())
{
    d->name = name;
    constexpr mode_t groupWrites = 0664; // both sides write: the one pictures, the other that it looks
    d->memory = QmxSharedMemory::make(name, sizeof(Layout), groupWrites, QmxSharedMemory::Existing::Keep);
    if (!d->memory) {
        qmxLogOutput(QmxLogLevel::Warning, "qmxscopes", __LINE__,
                     "There are no scopes: shared memory %s cannot be made: %s\n", qUtf8Printable(name),
                     qUtf8Printable(QmxError(errno).toString()));
        return;
    }
    d->shared = reinterpret_cast<Layout *>(d->memory->data());
    d->shared->pid = getpid();
    d->shared->sequence = d->shared->sequence.load() / 2 * 2; // of a writer that was killed in the middle
    d->shared->magic = magicNumber;
}

QmxScopesWriter::~QmxScopesWriter()
{
    if (!d->shared) return;
    if (d->shared->pid == getpid()) QmxSharedMemory::removeName(d->name);
}

quint64 QmxScopesWriter::asked() const
{
    return d->shared ? d->shared->asked.load(std::memory_order_relaxed) : 0;
}

void QmxScopesWriter::write(const QmxScopes &scopes)
{
    if (!d->shared) return;
    const quint64 sequence = d->shared->sequence.load(std::memory_order_relaxed) / 2 * 2;
    d->shared->sequence.store(sequence + 1, std::memory_order_relaxed);
    std::atomic_thread_fence(std::memory_order_release);
    copySharedWords(&d->shared->scopes, &scopes, sizeof(QmxScopes), true);
    d->shared->sequence.store(sequence + 2, std::memory_order_release);
}

struct QmxScopesReader::Private
{
    std::unique_ptr<QmxSharedMemory> memory;
    Layout *shared = nullptr;

    void close()
    {
        shared = nullptr;
        memory.reset();
    }
};

QmxScopesReader::QmxScopesReader() : d(std::make_unique<Private>()) {}

QmxScopesReader::~QmxScopesReader()
{
    d->close();
}

bool QmxScopesReader::open(const QString &name)
{
    d->close();
    d->memory = QmxSharedMemory::open(name, QmxSharedMemory::Access::Write, sizeof(Layout));
    if (d->memory) d->shared = reinterpret_cast<Layout *>(d->memory->data());
    if (d->shared && d->shared->magic != magicNumber) d->close();
    return d->shared;
}

void QmxScopesReader::ask()
{
    if (d->shared) d->shared->asked.fetch_add(1, std::memory_order_relaxed);
}

bool QmxScopesReader::read(QmxScopes &scopes)
{
    constexpr int tries = 100;
    for (int i = 0; d->shared && i < tries; ++i) {
        const quint64 before = d->shared->sequence.load(std::memory_order_acquire);
        if (before == 0) return false;
        if (before % 2 != 0) continue;
        copySharedWords(&scopes, &d->shared->scopes, sizeof(QmxScopes), false);
        std::atomic_thread_fence(std::memory_order_acquire);
        if (d->shared->sequence.load(std::memory_order_relaxed) == before) return true;
    }
    return false;
}
