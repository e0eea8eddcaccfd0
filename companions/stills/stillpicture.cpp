// SPDX-License-Identifier: GPL-3.0-or-later
#include "companions/stills/stillpicture.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace {
constexpr int glyphWidth = 5;
constexpr int glyphHeight = 7;
constexpr int advance = glyphWidth + 1;

struct Glyph
{
    char letter;
    std::array<const char *, glyphHeight> rows;
};
constexpr std::array glyphs = {
    Glyph{'D', {"####.", "#...#", "#...#", "#...#", "#...#", "#...#", "####."}},
    Glyph{'E', {"#####", "#....", "#....", "####.", "#....", "#....", "#####"}},
    Glyph{'F', {"#####", "#....", "#....", "####.", "#....", "#....", "#...."}},
    Glyph{'I', {".###.", "..#..", "..#..", "..#..", "..#..", "..#..", ".###."}},
    Glyph{'L', {"#....", "#....", "#....", "#....", "#....", "#....", "#####"}},
    Glyph{'O', {".###.", "#...#", "#...#", "#...#", "#...#", "#...#", ".###."}},
    Glyph{'S', {".####", "#....", "#....", ".###.", "....#", "....#", "####."}},
    Glyph{'V', {"#...#", "#...#", "#...#", "#...#", "#...#", ".#.#.", "..#.."}},
};

/// Three quarters of nominal white: bright enough to be seen, not to dazzle.
constexpr quint16 textLuma = 721;
/// The text is as wide as seven tenths of the picture, at most.
constexpr int widthParts = 7, widthWhole = 10;
} // namespace

QmxPicture drawStill(QmxPicture::Format format, const QSize &size, const char *text)
{
    QmxPicture picture = QmxPicture::allocate(format, size);
    if (!picture.isValid()) return picture;
    picture.fillBlack();
    const int letters = int(std::strlen(text));
    const int block = std::max(size.width() * widthParts / widthWhole / (letters * advance) / 2 * 2, 2);
    const int left = (size.width() - (letters * advance - 1) * block) / 2 / 2 * 2;
    const int top = (size.height() - glyphHeight * block) / 2 / 2 * 2;
    for (int i = 0; i < letters; ++i) {
        const auto glyph =
            std::find_if(glyphs.begin(), glyphs.end(), [&](const Glyph &g) { return g.letter == text[i]; });
        if (glyph == glyphs.end()) continue;
        for (int y = 0; y < glyphHeight * block; ++y)
            for (int column = 0; column < glyphWidth; ++column)
                if (glyph->rows[size_t(y / block)][column] == '#')
                    std::fill_n(picture.row(0, top + y) + left + (i * advance + column) * block, block,
                                textLuma);
    }
    return picture;
}
