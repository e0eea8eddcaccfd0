// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/clip/qmxclipinfo.h"
#include "platform/qmx/clip/qmxclipwriter.h"
#include "platform/qmx/codec/qmxvideocodec.h"
#include "platform/qmx/stream/qmxstream.h"
#include "platform/qmx/stream/qmxstreamcache.h"

#include <QElapsedTimer>
#include <QList>
#include <QSize>
#include <QString>

#include <functional>
#include <memory>

constexpr QSize benchClipSize(1920, 1080);
/// 25 pictures a second, ProRes 422, no sound.
QmxClipInfo benchClipInfo(const QSize &size = benchClipSize);
/// A clip of generated pictures, as hard to code as a camera's. False: it could not be made.
bool makeBenchClip(const QString &path, int frames, const QSize &size = benchClipSize);
/// A clip of ours with holes where its pictures would be, so that hours of a take cost no medium.
class BenchHollowClip
{
public:
    BenchHollowClip();
    /// Leaves it open, with nothing of it made durable. False: it could not be written.
    bool write(const QString &path, int frames, int flushEvery);
    /// As the clip of a recorder is closed.
    bool close();

private:
    class Files;
    const std::shared_ptr<Files> _files;
    QmxClipWriter _writer;
};
/// Decodes one frame; false: it could not be.
bool decodeFrame(QmxVideoDecoder &decoder, const QmxFrame &frame);
double benchMs(const QElapsedTimer &timer);
double benchPercentile(QList<double> values, double part);

/// A stream with its cache, driven from here. Needs an application object.
struct BenchPlayer
{
    QmxStream stream;
    QmxStreamCache cache;

    explicit BenchPlayer(const QString &path);
    ~BenchPlayer();
    /// Runs the event loop.
    static void turnUntil(const std::function<bool()> &done);
    /// The next frame, as soon as it is loaded.
    QmxFrame next();
};
