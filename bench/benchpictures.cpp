// SPDX-License-Identifier: GPL-3.0-or-later
#include "bench/benchpictures.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace {
/// A fixed random number from 0 to 1 for a point of a grid.
double lattice(int x, int y, int seed)
{
    quint32 h = quint32(x) * 374761393U + quint32(y) * 668265263U + quint32(seed) * 2246822519U;
    h = (h ^ (h >> 13)) * 1274126177U;
    return double((h ^ (h >> 16)) & 0xffff) / 65535;
}

double smooth(double x, double y, int seed)
{
    const int ix = int(std::floor(x)), iy = int(std::floor(y));
    const auto ease = [](double t) { return t * t * (3 - 2 * t); };
    const double fx = ease(x - ix), fy = ease(y - iy);
    const double top = std::lerp(lattice(ix, iy, seed), lattice(ix + 1, iy, seed), fx);
    return std::lerp(top, std::lerp(lattice(ix, iy + 1, seed), lattice(ix + 1, iy + 1, seed), fx), fy);
}

/// Detail of every size, as landscapes and faces have it: 0 to 1.
double nature(int plane, double x, double y)
{
    double sum = 0, weight = plane ? 0.25 : 0.5;
    for (double period = 256; period >= (plane ? 16 : 2); period /= 2, weight *= 0.55)
        sum += weight * smooth(x / period, y / period, int(period) + plane);
    return plane ? 0.25 + sum : sum;
}

double pan(int plane, double x, double y, int t, double noise)
{
    return nature(plane, x + 3.3 * t, y + 0.7 * t) + 0.03 * (noise - 0.5);
}

double motion(int plane, double x, double y, int t, double noise)
{
    return nature(plane, x + 9.1 * t, y) + 0.015 * (noise - 0.5);
}

/// Lines of letters of a made-up alphabet on a flat ground.
double text(int plane, double x, double y, int t, double)
{
    const int column = int(x) / 12, row = int(y + t) / 20;
    const int dotX = int(x) % 12 / 2, dotY = int(y + t) % 20 / 2;
    const bool ink = dotX < 5 && dotY < 8 && lattice(column * 8 + dotX, row * 16 + dotY, 7) > 0.55;
    if (plane) return row % 9 == 4 ? 0.35 : 0.5;
    return ink ? 0.95 : row % 9 == 4 ? 0.3 : 0.1;
}

double noise(int plane, double, double, int, double random)
{
    return plane ? 0.5 + 0.15 * (random - 0.5) : random;
}

double darkGradient(int plane, double x, double y, int t, double random)
{
    if (plane) return 0.5 + 0.02 * std::sin((x + t) / 300.0);
    return 0.02 + 0.08 * (0.5 + 0.5 * std::sin(x / 400.0 + y / 700.0 + t / 20.0)) + 0.004 * random;
}

/// Flat areas with sharp curved edges and slow shading.
double animation(int plane, double x, double y, int t, double)
{
    double value = plane ? 0.5 : 0.6 - y / 4000;
    for (int i = 0; i < 12; ++i) {
        const double cx = 1920 * lattice(i, 1, 3) + 5 * t * (lattice(i, 4, 3) - 0.5);
        const double cy = 1080 * lattice(i, 2, 3), radius = 60 + 200 * lattice(i, 3, 3);
        const double distance = std::hypot(x - cx, y - cy) / radius;
        if (distance < 1)
            value = plane ? lattice(i, 5 + plane, 3) : 0.2 + 0.7 * lattice(i, 5, 3) - 0.1 * distance;
    }
    return value;
}

/// Eight bars of 75 % above the same ones in reverse order and a ramp, as a generator has them; they stand.
double bars(int plane, double x, double y, int, double)
{
    // Y, Cb and Cr of white, yellow, cyan, green, magenta, red, blue, black by BT.709, each 0 to 1.
    constexpr double colours[3][8] = {{0.75, 0.696, 0.591, 0.536, 0.214, 0.160, 0.054, 0},
                                      {0.5, 0.125, 0.586, 0.211, 0.789, 0.414, 0.875, 0.5},
                                      {0.5, 0.534, 0.125, 0.159, 0.841, 0.875, 0.466, 0.5}};
    constexpr int width = 240;
    const int bar = int(x) / width % 8;
    if (y < 720) return colours[plane][bar];
    if (y < 800) return colours[plane][7 - bar];
    return plane ? 0.5 : std::fmod(x, 1920) / 1920;
}

constexpr std::array films = {
    BenchFilm{"pan_with_grain", false, pan}, BenchFilm{"text", false, text},
    BenchFilm{"noise", false, noise},        BenchFilm{"dark_gradient", false, darkGradient},
    BenchFilm{"interlaced", true, motion},   BenchFilm{"animation", false, animation},
};
constexpr BenchFilm barsFilm{"bars", false, bars};
} // namespace

std::span<const BenchFilm> benchFilms()
{
    return films;
}

const BenchFilm &benchBars()
{
    return barsFilm;
}

QmxPicture benchPicture(const BenchFilm &film, const QSize &size, int number)
{
    constexpr double black = 64, lumaSpan = 876, chromaSpan = 896;
    QmxPicture picture = QmxPicture::allocate(QmxPicture::Format::Yuv422P10, size);
    quint32 random = quint32(number) * 2654435761U + 1;
    for (int plane = 0; picture.isValid() && plane < 3; ++plane)
        for (int y = 0; y < picture.height(); ++y)
            for (int x = 0; x < picture.planeWidth(plane); ++x) {
                random = random * 1664525U + 1013904223U;
                const int t = film.interlaced ? 2 * number + y % 2 : number;
                const double value =
                    film.sample(plane, plane ? 2 * x : x, y, t, double(random >> 8) / 0xffffff);
                picture.row(plane, y)[x] =
                    quint16(qRound(black + std::clamp(value, 0.0, 1.0) * (plane ? chromaSpan : lumaSpan)));
            }
    return picture;
}
