// SPDX-License-Identifier: GPL-3.0-or-later
// Clips by themselves, without a recorder: long ones.
#include "bench/benchclip.h"
#include "bench/figures.h"

#include "platform/qmx/clip/qmxclipreader.h"
#include "platform/qmx/clip/qmxclipwriter.h"

#include <QElapsedTimer>
#include <QTemporaryDir>

#include <algorithm>

namespace {

/// Leaves holes where pictures would be, so that hours of a take cost no medium.
class HollowFiles : public QmxFiles
{
public:
    ssize_t pwrite(int fd, const void *data, size_t size, off64_t offset) override
    {
        return hollow ? ssize_t(size) : QmxFiles::pwrite(fd, data, size, offset);
    }
    int fallocate(int, int, off64_t, off64_t) override { return 0; }
    /// Fifty thousand of them would take minutes, and nobody pulls the plug.
    int fdatasync(int fd) override { return syncs ? QmxFiles::fdatasync(fd) : 0; }
    bool hollow = false;
    bool syncs = false;
};
} // namespace

QList<Figure> benchLongClip(int)
{
    constexpr int frames = 300000, flushEvery = 12;
    const QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("long.mov"));
    QmxEnvironment environment = QmxEnvironment::current();
    auto files = std::make_shared<HollowFiles>();
    environment.files = files;
    QmxClipWriter writer(environment);
    if (writer.create(path, benchClipInfo()).isError()) return {};
    QmxFrame frame;
    QmxBuffer picture = QmxBuffer::allocate(4000);
    std::fill_n(picture.data(), picture.size(), uchar(7));
    frame.vids().append(QmxImage(benchClipInfo().image, {picture}));
    for (int i = 0; i < frames; ++i) {
        files->hollow = true;
        if (writer.writeFrame(frame).isError()) return {};
        files->hollow = false;
        if (i % flushEvery == flushEvery - 1 && writer.flush().isError()) return {};
    }
    files->syncs = true;
    QElapsedTimer timer;
    QmxClipReader growing, closed;
    timer.start();
    if (growing.open(path).isError()) return {};
    const double walk = benchMs(timer);
    timer.restart();
    if (writer.close().isError()) return {};
    const double close = benchMs(timer);
    timer.restart();
    if (closed.open(path).isError() || closed.info().frames != frames) return {};
    const double open = benchMs(timer);
    return {{"long_clip_open_unclosed", walk, "ms", {}, {}, 200.0},
            {"long_clip_close", close, "ms", {}, {}, 100.0},
            {"long_clip_open", open, "ms", {}, {}, 20.0}};
}
