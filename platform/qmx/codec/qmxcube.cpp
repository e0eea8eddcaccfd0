// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/codec/qmxcube.h"

#include "platform/qmx/codec/qmxcubekernels.h"

#include <algorithm>
#include <deque>
#include <mutex>

namespace {
using Format = QmxPicture::Format;
using QmxCubeKernels::Matrix;
constexpr Matrix hd{0.2126F, 0.0722F};
constexpr Matrix sd{0.299F, 0.114F};
constexpr int firstHdHeight = 720;
constexpr int maximum = 1023;

struct Kept
{
    QString filename;
    QString mark;
    QList<short> diagonal;
    std::shared_ptr<const QmxCube> cube;
};

struct Shelf
{
    std::mutex mutex;
    std::deque<Kept> cubes; ///< newest first
};

Shelf &shelf()
{
    static Shelf made;
    return made;
}

QList<short> tableOf(const QmxImageLut &lut)
{
    return QList<short>(lut.lutData(), lut.lutData() + 3 * qsizetype(lut.entries()));
}
} // namespace

void QmxCube::diagonal(short *red, short *green, short *blue, int entries) const
{
    std::vector<quint16> grey(size_t(entries) + QmxCubeKernels::padding);
    for (int i = 0; i < entries; ++i)
        grey[size_t(i)] = quint16(i * maximum / std::max(entries - 1, 1));
    std::array<std::vector<quint16>, 3> made{grey, grey, grey};
    QmxCubeKernels::apply(*this, Matrix(), {grey.data(), grey.data(), grey.data()},
                          {made[0].data(), made[1].data(), made[2].data()}, entries);
    std::copy_n(made[0].begin(), entries, red);
    std::copy_n(made[1].begin(), entries, green);
    std::copy_n(made[2].begin(), entries, blue);
}

QmxPicture QmxCube::applied(const QmxPicture &picture) const
{
    QmxPicture result = QmxPicture::allocate(picture.format(), picture.size());
    if (!result.isValid()) return result;
    const int width = picture.width();
    const Matrix matrix = picture.format() == Format::Rgb444P10 ? Matrix()
                          : picture.height() < firstHdHeight    ? sd
                                                                : hd;
    if (picture.format() != Format::Yuv422P10) {
        for (int y = 0; y < picture.height(); ++y)
            QmxCubeKernels::apply(*this, matrix, {picture.row(0, y), picture.row(1, y), picture.row(2, y)},
                                  {result.row(0, y), result.row(1, y), result.row(2, y)}, width);
        return result;
    }
    // Chroma comes from the even pixel of a pair, as it is sited there.
    const size_t length = size_t(width) + QmxCubeKernels::padding;
    std::vector<quint16> wide(4 * length);
    quint16 *const cb = wide.data(), *const cr = cb + length, *const cb2 = cr + length,
                   *const cr2 = cb2 + length;
    for (int y = 0; y < picture.height(); ++y) {
        const quint16 *narrowCb = picture.row(1, y), *narrowCr = picture.row(2, y);
        for (int x = 0; x < width; ++x) {
            cb[x] = narrowCb[x / 2];
            cr[x] = narrowCr[x / 2];
        }
        QmxCubeKernels::apply(*this, matrix, {picture.row(0, y), cb, cr}, {result.row(0, y), cb2, cr2},
                              width);
        quint16 *toCb = result.row(1, y), *toCr = result.row(2, y);
        for (int x = 0; x < width; x += 2) {
            toCb[x / 2] = cb2[x];
            toCr[x / 2] = cr2[x];
        }
    }
    return result;
}

void QmxCubes::keep(const QString &filename, const QString &mark, const std::shared_ptr<const QmxCube> &cube)
{
    constexpr int entries = 1024;
    QmxImageLut grey(QmxId(), entries);
    short *const runs = grey.lutData();
    cube->diagonal(runs, runs + entries, runs + 2 * entries, entries);
    const std::lock_guard lock(shelf().mutex);
    shelf().cubes.push_front({filename, mark, tableOf(grey), cube});
    if (shelf().cubes.size() > size_t(bound)) shelf().cubes.pop_back();
}

std::shared_ptr<const QmxCube> QmxCubes::withMark(const QString &filename, const QString &mark)
{
    const std::lock_guard lock(shelf().mutex);
    for (const Kept &kept : shelf().cubes)
        if (kept.filename == filename && kept.mark == mark) return kept.cube;
    return nullptr;
}

std::shared_ptr<const QmxCube> QmxCubes::of(const QmxImageLut &lut)
{
    if (lut.filename().isEmpty()) return nullptr;
    const std::lock_guard lock(shelf().mutex);
    for (const Kept &kept : shelf().cubes)
        if (kept.filename == lut.filename() && kept.diagonal.size() == 3 * lut.entries() &&
            std::equal(kept.diagonal.begin(), kept.diagonal.end(), lut.lutData()))
            return kept.cube;
    return nullptr;
}
