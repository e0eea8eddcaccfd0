// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/device/inputwatch.h"

#include "platform/qmx/core/qmxids.h"

namespace {
/// Frames for which a timecode that has gone stands still: what six observations of a standstill take when
/// each second one counts as the repeat of an interlaced frame.
constexpr int mostHeldTimecodes = 14;

/// May be the name of a file in a folder, with room for an ending.
bool isClipName(const QString &name)
{
    constexpr qsizetype mostBytes = 240;
    return !name.isEmpty() && !name.startsWith('.') && !name.contains('/') && !name.contains(QChar(0)) &&
           name.toLocal8Bit().size() <= mostBytes;
}
} // namespace

void InputWatch::begin(const QmxSourceFrame &found)
{
    if (found.reference) _reference = *found.reference;
    _detector.begin(found.state);
    _report.begin(found.state);
}

InputWatch::News InputWatch::step(const QmxSourceFrame &seen, const QmxTick &tick, bool ignoresAncillary,
                                  bool timecodeWaits)
{
    News news;
    _reference = seen.reference.value_or(_standardReference);
    const bool wasUnknown = _detector.isUnknown();
    const auto state = _detector.step(seen.state, tick.deadline);
    if (state && _report.changed(*state, wasUnknown)) news.state = state;

    QmxMetadataHash ancillary = ignoresAncillary ? QmxMetadataHash() : seen.metadata;
    // A path is made of it, and it comes from a camera.
    if (const QVariant name = ancillary.value(QmxIds::recordName);
        name.isValid() && !isClipName(name.toString()))
        ancillary.remove(QmxIds::recordName);
    if (ancillary != _ancillary) news.ancillary = _ancillary = ancillary;

    // Record on running timecode must not fire before record is possible: no timecode before the input's
    // return has been told, in a take before the first picture after the loss can be read.
    stepTimecode(isGood(seen) && !timecodeWaits ? seen.timecode : QmxTimecode(), tick.index);
    return news;
}

void InputWatch::stepTimecode(const QmxTimecode &timecode, qint64 tick)
{
    // One that goes away stands still first. Who watches whether it runs needs a value to compare with: of
    // one that is simply gone it would see a single interval, and neither the stop nor the next start.
    _heldTimecodes = timecode.isValid() || !_timecode.isValid() ? 0 : _heldTimecodes + 1;
    if (_heldTimecodes == 0 || _heldTimecodes > mostHeldTimecodes) _timecode = timecode;
    _running.step(tick, _timecode);
}

QmxVideoRefState InputWatch::reference(const QmxId &source) const
{
    if (source == QmxIds::syncVideoInput) {
        const bool locked = state().isValid();
        return {locked, locked};
    }
    return source == QmxIds::syncReference ? _reference : QmxVideoRefState(true, true);
}
