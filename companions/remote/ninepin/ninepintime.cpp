// SPDX-License-Identifier: GPL-3.0-or-later
#include "companions/remote/ninepin/ninepintime.h"

#include <algorithm>
#include <cmath>

namespace {
constexpr int mostCounted = 30; ///< frames of a second as the protocol counts them
constexpr std::uint8_t dropFlag = 0x40;

char bcd(int number)
{
    return char((number / 10) << 4 | number % 10);
}

int digits(std::uint8_t byte, std::uint8_t mask)
{
    return ((byte & mask) >> 4) * 10 + (byte & 0x0F);
}
} // namespace

namespace NinepinTimecode {
int framesACount(int fps)
{
    return fps > mostCounted ? 2 : 1;
}

QmxTimecode counted(const QmxTimecode &timecode)
{
    QmxTimecode result = timecode;
    const bool halved = timecode.frames() >= mostCounted;
    result.setFrames(timecode.frames() / (halved ? 2 : framesACount(timecode.fps())));
    return result;
}

QByteArray encode(const QmxTimecode &timecode)
{
    if (!timecode.isValid()) return QByteArray(4, '\0');
    QByteArray bytes;
    bytes.append(char(bcd(counted(timecode).frames()) | (timecode.isDropFrame() ? dropFlag : 0)));
    return bytes.append(bcd(timecode.seconds()))
        .append(bcd(timecode.minutes()))
        .append(bcd(timecode.hours()));
}

QmxTimecode decode(std::span<const std::uint8_t, 4> bytes, int fps, bool drop)
{
    const int frames = digits(bytes[0], 0x3F) * framesACount(fps);
    const int rate = fps > 0 ? fps : mostCounted;
    if (frames >= rate) return {};
    return {digits(bytes[3], 0x3F), digits(bytes[2], 0x7F), digits(bytes[1], 0x7F), frames, fps, drop};
}
} // namespace NinepinTimecode

namespace NinepinSpeed {
namespace {
constexpr double stepsADecade = 32.0;

double whole(int n)
{
    return std::pow(10.0, n / stepsADecade - 2.0);
}
} // namespace

double decode(std::uint8_t n, std::uint8_t fraction)
{
    if (n == 0 && fraction == 0) return 0.0;
    return whole(n) + fraction / 256.0 * (whole(n + 1) - whole(n));
}

std::uint8_t encode(double speed)
{
    const double size = std::fabs(speed);
    if (size < whole(0)) return 0;
    return std::uint8_t(std::clamp(std::lround(stepsADecade * (std::log10(size) + 2.0)), 0L, 255L));
}
} // namespace NinepinSpeed
