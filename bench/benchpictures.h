// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/codec/qmxpicture.h"

#include <span>

/// One kind of picture that coders are measured on. The same numbers give the same picture everywhere.
struct BenchFilm
{
    const char *name;
    bool interlaced;
    /// A sample between 0 and 1; `noise` is a random number from 0 to 1 for this sample, `t` counts fields
    /// of an interlaced film and frames of another one.
    double (*sample)(int plane, double x, double y, int t, double noise);
};

std::span<const BenchFilm> benchFilms();
/// What a generator gives: the least that there is to decode. No coder's limit is near.
const BenchFilm &benchBars();
/// Frame `number` of a film, in legal range.
QmxPicture benchPicture(const BenchFilm &film, const QSize &size, int number);
