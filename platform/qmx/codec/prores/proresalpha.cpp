// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/codec/prores/proresentropy.h"

#include <algorithm>

namespace {
/// The bits of an alpha channel, one after the other; zeros behind the end.
class AlphaBits
{
public:
    AlphaBits(const uchar *bytes, int size) : _bytes(bytes), _size(qint64(size) * 8) {}
    int take(int count)
    {
        int value = 0;
        for (; count > 0; --count, ++_at)
            value = value << 1 | (_at < _size ? _bytes[_at >> 3] >> (7 - (_at & 7)) & 1 : 0);
        return value;
    }
    qint64 left() const { return _size - _at; }

private:
    const uchar *_bytes;
    qint64 _size;
    qint64 _at = 0;
};
} // namespace

bool ProResEntropy::decodeAlpha(const uchar *bytes, int size, int bits, quint16 *values, int count)
{
    constexpr int wide = 16, smallBitsOfWide = 7, smallBitsOfNarrow = 4, shortRun = 4, longRun = 11;
    const int mask = (1 << bits) - 1;
    AlphaBits in(bytes, size);
    int value = mask;
    // Full scale of 8 bits is full scale of 16.
    const auto scaled = [bits](int v) { return quint16(bits == wide ? v : v << 8 | v); };
    for (int i = 0; i < count;) {
        if (in.left() <= 0) return false;
        if (in.take(1)) {
            value += in.take(bits);
        } else {
            const int folded = in.take(bits == wide ? smallBitsOfWide : smallBitsOfNarrow);
            const int difference = folded / 2 + 1;
            value += folded & 1 ? -difference : difference;
        }
        value &= mask;
        values[i++] = scaled(value);
        if (i == count || in.take(1)) continue;
        int run = in.take(shortRun);
        if (run == 0) run = in.take(longRun);
        run = std::min(run, count - i);
        std::fill_n(values + i, run, scaled(value));
        i += run;
    }
    return true;
}
