// SPDX-License-Identifier: GPL-3.0-or-later
// Prints what the preview output shows, a line a picture: tick, frame number, strip count, timecode.
//   xp-preview-strip COUNT      that many new pictures, the present one first
#include "platform/qmx/core/qmxenvironment.h"
#include "platform/qmx/edges/qmxpreview.h"
#include "platform/qmx/edges/qmxstrip.h"

#include <cstdio>
#include <cstdlib>

int main(int argc, char **argv)
{
    const int wanted = argc > 1 ? std::atoi(argv[1]) : 1;
    const QmxEnvironment environment = QmxEnvironment::current();
    const qint64 end = environment.clock->now() + 20 * QmxClock::nsPerSecond;
    QmxPreviewReader reader;
    QmxPreviewPicture picture;
    qint64 lastTick = -1;
    for (int shown = 0; shown < wanted;) {
        if (environment.clock->now() > end) {
            std::fprintf(stderr, "no new picture on the preview\n");
            return EXIT_FAILURE;
        }
        if (!reader.read(picture) || picture.tick == lastTick) {
            reader.open();
            environment.clock->sleepUntil(environment.clock->now() + QmxClock::nsPerMillisecond);
            continue;
        }
        lastTick = picture.tick;
        const auto strip = QmxStrip::readLuma8(reinterpret_cast<const uchar *>(picture.luma.constData()),
                                               picture.width, picture.height, picture.width);
        std::printf("%lld %lld %lld %s\n", static_cast<long long>(picture.tick),
                    static_cast<long long>(picture.frameNumber),
                    strip ? static_cast<long long>(*strip) : -1LL, qPrintable(picture.timecode));
        ++shown;
    }
    return EXIT_SUCCESS;
}
