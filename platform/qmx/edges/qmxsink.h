// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/edges/qmxsource.h"

/// What is on the output at one tick.
struct QmxOutputFrame
{
    QmxTick tick;
    QmxImageDesc desc;  ///< format of the output
    QString connection; ///< its electrical side, for the operator
    QString input;      ///< one sentence: what the input is, and what is wrong with it
    QString outputs;    ///< the same of each output but the preview, a line each
    QmxPicture picture; ///< not valid: black
    int divisor = 1;    ///< it has the detail of one so many times smaller: no more could be decoded in time
    QmxAudio audio;     ///< not valid or empty: silence
    QmxTimecode timecode;     ///< of the frame shown (playback) or of the generator (capture)
    QmxMetadataHash metadata; ///< of the frame shown; keys 1 and 18 say which it is
    bool isCapture = false;
    bool isRepeat = false; ///< the same frame as at the tick before
};

/// An output. show() is called once a tick on the device's clock thread and must neither block nor fail
/// the device: a sink that writes or waits does that on its own thread behind a bounded queue and counts
/// what it drops.
class QmxSink
{
public:
    virtual ~QmxSink();
    virtual void show(const QmxOutputFrame &frame) = 0;
    virtual qint64 dropped() const;
    virtual QString statusText() const = 0;
    /// Empty while frames go out, else why they do not. Quick: the clock thread asks.
    virtual QString problem() const { return {}; }
    /// Pictures of a clip may be 2, 4 or 8 times smaller than the output for the time being, also when one
    /// `stands` there for a while; 1: they may not. Quick: the clock thread asks every tick.
    virtual int divisor(const QmxImageDesc &, [[maybe_unused]] bool stands) const { return 1; }
    static constexpr int greatestDivisor = 8;
    /// Of fast play that is more than the machine can decode, pictures of the detail of those so many times
    /// smaller will do; 1: somebody wants every sample. Quick: the clock thread asks every tick.
    virtual int coarsest(const QmxImageDesc &) const { return greatestDivisor; }
};

/// One kind of sink: a row of the table in sinks.cpp.
struct QmxSinkRow
{
    const char *scheme; ///< "preview", "null", "file", "udp" ...
    const char *help;
    std::unique_ptr<QmxSink> (*create)(const QString &locator, const QmxEnvironment &environment);
};

std::span<const QmxSinkRow> qmxSinks();
/// Never null: a locator that makes no sense gives a null sink whose statusText() says why.
std::unique_ptr<QmxSink> qmxCreateSink(const QString &locator, const QmxEnvironment &environment);
/// Empty, or why a line of the profile shows nothing, as its own parser says. Nothing is opened.
QString qmxSinkProblem(const QString &locator, const QmxEnvironment &environment);
