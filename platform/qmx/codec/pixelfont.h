// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QChar>

/// Letters of five by seven dots for text in pictures: digits, capitals (small letters look like them) and
/// a few signs; others are blank.
namespace PixelFont {
constexpr int width = 5;
constexpr int height = 7;

bool dot(QChar letter, int column, int row);
} // namespace PixelFont
