// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/device/outputstage.h"

#include "platform/qmx/device/picturework.h"

#include <algorithm>

namespace {
constexpr int queueBound = 3;

bool sameRaster(const QmxImageDesc &a, const QmxImageDesc &b)
{
    return a.width() == b.width() && a.height() == b.height();
}

bool needsWork(const QmxOutputFrame &frame, const OutputStage::Work &work)
{
    return frame.picture.isValid() &&
           (!work.text.isEmpty() || !sameRaster(frame.desc, work.format) || frame.divisor > work.divisor);
}
} // namespace

OutputStage::OutputStage(std::vector<std::unique_ptr<QmxSink>> sinks, const QmxEnvironment &environment)
    : _sinks(std::move(sinks)), _thread(QStringLiteral("lumen-output"), queueBound, environment)
{}

OutputStage::~OutputStage() = default;

void OutputStage::show(const QmxOutputFrame &frame, const Work &work)
{
    if (needsWork(frame, work) || _thread.pending() > 0) {
        if (!_thread.post([this, frame, work] { process(frame, work); })) ++_late;
        return;
    }
    process(frame, work);
}

int OutputStage::divisor(const QmxImageDesc &desc, const Work &work, bool stands) const
{
    // Of interlaced pictures fields would become smaller, not the picture.
    if (desc.isInterlaced() || !work.text.isEmpty() || !sameRaster(desc, work.format)) return 1;
    int divisor = QmxSink::greatestDivisor;
    for (const std::unique_ptr<QmxSink> &sink : _sinks)
        divisor = std::min(divisor, sink->divisor(desc, stands));
    return divisor;
}

int OutputStage::coarsest(const QmxImageDesc &desc) const
{
    int coarsest = QmxSink::greatestDivisor;
    for (const std::unique_ptr<QmxSink> &sink : _sinks)
        coarsest = std::min(coarsest, sink->coarsest(desc));
    return coarsest;
}

void OutputStage::process(QmxOutputFrame frame, const Work &work)
{
    frame.picture = processed(frame, work);
    frame.desc = work.format;
    constexpr int askEvery = 8; // ticks
    if (frame.tick.index % askEvery == 0) {
        _told.clear();
        for (size_t i = 1; i < _sinks.size(); ++i)
            _told += _sinks[i]->statusText() + '\n';
    }
    frame.outputs = _told;
    for (const std::unique_ptr<QmxSink> &sink : _sinks)
        sink->show(frame);
}

/// So many times smaller than the frame, or as it is where that is no larger.
QmxPicture OutputStage::enlarged(const QmxOutputFrame &frame, int divisor)
{
    QmxPicture picture = frame.picture;
    for (int of = frame.divisor; of > divisor && picture.isValid(); of /= 2) {
        const auto part = [by = of / 2](int samples) { return (samples + by - 1) / by; };
        picture = PictureWork::enlarged(picture, {part(frame.desc.width()), part(frame.desc.height())},
                                        frame.desc.isInterlaced());
    }
    return picture;
}

QmxPicture OutputStage::processed(const QmxOutputFrame &frame, const Work &work)
{
    if (!needsWork(frame, work)) return frame.picture;
    if (_source.sharesWith(frame.picture) && _work == work) return _result;
    const bool keepsRaster = sameRaster(frame.desc, work.format);
    const QSize size(work.format.width(), work.format.height());
    QmxPicture raster = enlarged(frame, work.divisor);
    if (!keepsRaster) raster = _converter.convert(raster, size, frame.desc.isInterlaced());
    _source = frame.picture;
    _work = work;
    _result = PictureWork::withText(raster, work.text);
    return _result;
}

QString OutputStage::problem() const
{
    QStringList problems;
    for (const std::unique_ptr<QmxSink> &sink : _sinks)
        if (QString problem = sink->problem(); !problem.isEmpty()) problems.append(problem);
    return problems.join(QLatin1String("; "));
}

qint64 OutputStage::previewDropped() const
{
    return _sinks.empty() ? 0 : _sinks.front()->dropped();
}

qint64 OutputStage::outputDropped() const
{
    qint64 dropped = _late;
    for (size_t i = 1; i < _sinks.size(); ++i)
        dropped += _sinks.at(i)->dropped();
    return dropped;
}
