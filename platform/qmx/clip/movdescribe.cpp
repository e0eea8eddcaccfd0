// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/clip/movdescribe.h"

#include "platform/qmx/codec/qmxvideocodec.h"
#include "platform/qmx/core/qmxids.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>

namespace {

constexpr int maxSide = 16384;
constexpr double minRate = 1;
constexpr double maxRate = 240;

/// Display aspect ratio out of the shape of a pixel; the clean aperture of standard definition shows 704 of
/// its 720 pixels.
void setAspect(const MovMovie::Track &track, QmxImageDesc &image)
{
    struct Shape
    {
        int height;
        quint32 horizontal;
        quint32 vertical;
        int width;
        int heightRatio;
    };
    static constexpr Shape shapes[] = {
        {486, 10, 11, 4, 3},  {486, 40, 33, 16, 9}, {480, 10, 11, 4, 3},
        {480, 40, 33, 16, 9}, {576, 12, 11, 4, 3},  {576, 16, 11, 16, 9},
    };
    for (const Shape &shape : shapes) {
        if (track.width != 720 || track.height != shape.height) continue;
        if (track.pixelWidth == shape.horizontal && track.pixelHeight == shape.vertical) {
            image.setAspectRatio(shape.width, shape.heightRatio);
            return;
        }
    }
    if (track.pixelWidth == track.pixelHeight) {
        image.setAspectRatio(track.width, track.height);
        return;
    }
    const qint64 width = qint64(track.width) * track.pixelWidth;
    const qint64 height = qint64(track.height) * track.pixelHeight;
    const qint64 divisor = std::gcd(width, height);
    image.setAspectRatio(int(width / divisor), int(height / divisor));
}

} // namespace

QmxImageDesc movDescribeImage(const MovMovie::Track &track, quint32 delta)
{
    QmxImageDesc image;
    const QmxCodecRow *codec = qmxCodecByFourcc(track.fourcc);
    constexpr quint32 maxInt = quint32(std::numeric_limits<int>::max());
    if (!codec || delta == 0 || delta > maxInt || track.timeScale > maxInt) return {};
    if (track.width < 1 || track.height < 1 || track.width > maxSide || track.height > maxSide) return {};
    const double rate = double(track.timeScale) / delta;
    if (rate < minRate || rate > maxRate) return {};
    image.setSize(track.width, track.height);
    image.setFrameRate(QmxVideoRate::stated(track.timeScale, delta));
    image.setScanMode(track.interlaced ? QmxImageDesc::Interlaced : QmxImageDesc::Progressive);
    image.setDataType(codec->dataType);
    setAspect(track, image);
    return image;
}

void movApplyTraits(const MovFragment::ClipTraits &traits, QmxImageDesc &image)
{
    if (traits.scanMode == QmxImageDesc::SegmentedFrame && !image.isInterlaced())
        image.setScanMode(QmxImageDesc::SegmentedFrame);
    constexpr int maxAspect = 1 << 20;
    if (traits.aspectWidth >= 0 && traits.aspectHeight >= 0 && traits.aspectWidth < maxAspect &&
        traits.aspectHeight < maxAspect)
        image.setAspectRatio(traits.aspectWidth, traits.aspectHeight);
}

QmxAudioDesc movAudioDesc(int channels, const QmxVideoRate &rate)
{
    QmxAudioDesc audio;
    audio.setDataType(QmxIds::pcm);
    audio.setChannels(channels);
    audio.setSampleRate(qmxAudioRate, 1);
    audio.setFrameRate(rate);
    return audio;
}

bool movStandsAlone(const MovMovie &movie, const MovMovie::Track &track, qint64 &first, qint64 &count)
{
    first = 0;
    count = qint64(track.samples);
    const quint32 delta = track.constantDelta();
    if (track.descriptions != 1 || track.reordered || delta == 0 || track.edits.size() > 1) return false;
    if (track.edits.empty()) return true;
    const qint64 start = track.edits.front().mediaTime;
    if (start < 0 || start % delta != 0) return false;
    first = start / delta;
    count -= first;
    // A duration of 0 reaches to the end. It is rounded to the movie's scale, which may be a coarse one.
    const double seconds = double(track.edits.front().duration) / std::max(movie.timeScale, 1u);
    const double shown = seconds * track.timeScale / delta;
    constexpr double roundingError = 0.2;
    if (shown > roundingError && shown < double(count)) count = qint64(std::ceil(shown - roundingError));
    return count > 0;
}

bool movSoundShift(const MovMovie &movie, const MovMovie::Track &track, qint64 &shift)
{
    shift = 0;
    auto edits = track.edits;
    constexpr qint64 limit = qint64(1) << 40;
    if (edits.size() == 2 && edits.front().mediaTime == -1) {
        if (edits.front().duration < 0 || edits.front().duration > limit || movie.timeScale == 0)
            return false;
        shift -= edits.front().duration * qmxAudioRate / movie.timeScale;
        edits.erase(edits.begin());
    }
    if (edits.size() > 1) return false;
    if (edits.empty()) return true;
    const qint64 start = edits.front().mediaTime;
    if (start < 0 || start > limit || track.timeScale == 0) return false;
    shift += start * qmxAudioRate / track.timeScale;
    return true;
}
