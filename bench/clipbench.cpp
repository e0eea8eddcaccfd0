// SPDX-License-Identifier: GPL-3.0-or-later
// Clips by themselves, without a recorder: long ones.
#include "bench/benchclip.h"
#include "bench/figures.h"

#include "platform/qmx/clip/qmxclipreader.h"

#include <QElapsedTimer>
#include <QTemporaryDir>

QList<Figure> benchLongClip(int)
{
    constexpr int frames = 300000, flushEvery = 12;
    const QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("long.mov"));
    BenchHollowClip clip;
    if (!clip.write(path, frames, flushEvery)) return {};
    QElapsedTimer timer;
    QmxClipReader growing, closed;
    timer.start();
    if (growing.open(path).isError()) return {};
    const double walk = benchMs(timer);
    timer.restart();
    if (!clip.close()) return {};
    const double close = benchMs(timer);
    timer.restart();
    if (closed.open(path).isError() || closed.info().frames != frames) return {};
    const double open = benchMs(timer);
    return {{"long_clip_open_unclosed", walk, "ms", {}, {}, 20.0},
            {"long_clip_close", close, "ms", {}, {}, 100.0},
            {"long_clip_open", open, "ms", {}, {}, 20.0}};
}
