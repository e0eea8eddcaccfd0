// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/codec/qmxpictureconverter.h"
#include "platform/qmx/core/qmxtaskthread.h"
#include "platform/qmx/edges/qmxsink.h"

#include <atomic>
#include <vector>

/// Between the card and its outputs: enlarges pictures that were decoded smaller than the outputs take them,
/// converts them to the format of the outputs and puts text into them, once however often the frame is
/// shown, then hands them to every sink.
///
/// Threads: show() comes from the clock thread. A frame that needs no work goes to the sinks at once; else
/// "lumen-output" does the work and hands it on. The two never use the sinks at the same time and never
/// change the order. Its queue holds three frames; when it is full the newest one is dropped and counted.
class OutputStage
{
public:
    struct Work
    {
        QmxImageDesc format; ///< of the outputs
        QString text;        ///< empty: none
        int divisor = 1;     ///< pictures of less detail are made no larger than so many times smaller
        bool operator==(const Work &) const = default;
    };

    OutputStage(std::vector<std::unique_ptr<QmxSink>> sinks, const QmxEnvironment &environment);
    ~OutputStage();
    OutputStage(const OutputStage &) = delete;
    OutputStage &operator=(const OutputStage &) = delete;

    void show(const QmxOutputFrame &frame, const Work &work);
    /// How many times smaller than the output the pictures of a clip may be: whatever every sink can do with,
    /// where nothing is to be done to them. `stands`: the same one has been there for a while. Whoever shows.
    int divisor(const QmxImageDesc &desc, const Work &work, bool stands) const;
    /// So many times smaller they may be decoded in fast play where there is no time for more. Whoever shows.
    int coarsest(const QmxImageDesc &desc) const;
    /// Empty while every sink is served, else what is wrong with each of the others. Any thread.
    QString problem() const;
    /// Frames that did not reach the first sink, which is the preview.
    qint64 previewDropped() const;
    /// Those of the others together, and what this stage itself could not do in time.
    qint64 outputDropped() const;

private:
    void process(QmxOutputFrame frame, const Work &work);
    QmxPicture processed(const QmxOutputFrame &frame, const Work &work);
    static QmxPicture enlarged(const QmxOutputFrame &frame, int divisor);

    std::vector<std::unique_ptr<QmxSink>> _sinks;
    std::atomic<qint64> _late = 0;
    // Of whoever shows.
    QmxPictureConverter _converter;
    QmxPicture _source; ///< of which _result was made, by _work
    QmxPicture _result;
    QString _told; ///< what the sinks have said last
    Work _work;
    QmxTaskThread _thread; ///< last: ends before what it uses
};
