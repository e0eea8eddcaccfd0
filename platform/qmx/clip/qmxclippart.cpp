// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/clip/qmxclippart.h"

#include <cerrno>

namespace {

bool isPlace(const QString &text)
{
    bool isNumber = false;
    text.toUInt(&isNumber);
    return text.isEmpty() || isNumber || QmxTimecode(text).isValid();
}

/// How many frames behind `start` a timecode comes, counted as that run counts; past midnight too.
qint64 framesBehind(const QmxTimecode &start, QmxTimecode wanted)
{
    wanted.setFPS(start.fps());
    wanted.setDropFrame(start.isDropFrame());
    const int behind = wanted.toFrameNumber() - start.toFrameNumber();
    const int day = QmxTimecode(-1, start.fps(), start.isDropFrame()).toFrameNumber() + 1;
    return behind < 0 ? behind + day : behind;
}

} // namespace

std::optional<QmxClipPart> QmxClipPart::fromText(const QString &text)
{
    QmxClipPart part;
    part.clip = text;
    if (!text.endsWith(QLatin1Char(')'))) return part;
    const qsizetype open = text.lastIndexOf(QLatin1Char('['));
    const QString inside = open < 0 ? QString() : text.mid(open + 1, text.size() - open - 2);
    const qsizetype dash = inside.indexOf(QLatin1Char('-'));
    if (dash < 0) return {};
    part.clip = text.left(open);
    part.from = inside.left(dash);
    part.to = inside.mid(dash + 1);
    part.isPart = true;
    if (part.clip.isEmpty() || !isPlace(part.from) || !isPlace(part.to)) return {};
    return part;
}

QString QmxClipPart::toText() const
{
    return isPart ? QStringLiteral("%1[%2-%3)").arg(clip, from, to) : clip;
}

std::optional<qint64> QmxClipPart::frameAt(const QmxClipInfo &info, const QString &place, bool behind)
{
    const qint64 last = info.frames - (behind ? 0 : 1);
    bool isNumber = false;
    const qint64 number = place.toUInt(&isNumber);
    if (isNumber) return number <= last ? std::optional(number) : std::nullopt;
    const QmxTimecode wanted(place);
    if (!wanted.isValid()) return {};
    for (qsizetype i = 0; i < info.timecodeRuns.size(); ++i) {
        const QmxClipInfo::TimecodeRun &run = info.timecodeRuns[i];
        const bool isLastRun = i + 1 == info.timecodeRuns.size();
        const qint64 end = isLastRun ? info.frames + (behind ? 1 : 0) : info.timecodeRuns[i + 1].firstFrame;
        const qint64 frame = run.firstFrame + framesBehind(run.start, wanted);
        // A number that drop-frame counting leaves out is no place.
        if (frame < end && (frame == info.frames || info.timecodeAt(frame).timecodeMatches(wanted)))
            return frame;
    }
    return {};
}

QmxError QmxClipPart::resolve(const QmxClipInfo &info, Range &range) const
{
    const auto outside = [&](const QString &place) {
        return QmxError(EINVAL, QStringLiteral("%1 has no place %2: its frames are 0 to %3")
                                    .arg(clip.section(QLatin1Char('/'), -1), place)
                                    .arg(info.frames - 1));
    };
    range = {0, info.frames};
    if (!from.isEmpty()) {
        const std::optional<qint64> first = frameAt(info, from);
        if (!first) return outside(from);
        range.first = *first;
    }
    if (!to.isEmpty()) {
        bool isNumber = false;
        const qint64 number = to.toUInt(&isNumber);
        std::optional<qint64> end = frameAt(info, to, true);
        if (!end && isNumber && !info.closed && !info.foreign) end = number;
        if (!end) return outside(to);
        range.end = *end;
    }
    if (range.end <= range.first)
        return {EINVAL, QStringLiteral("the part of %1 ends before it begins: %2 to %3")
                            .arg(clip.section(QLatin1Char('/'), -1))
                            .arg(range.first)
                            .arg(range.end)};
    return {};
}
