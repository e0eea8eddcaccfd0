// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/control/edlof.h"

#include "platform/product/clipfinder.h"
#include "platform/product/edl.h"

#include <algorithm>

namespace {
/// Where the record side of a list begins by custom.
constexpr int recordHour = 1;

QmxTimecode timecodeBehind(const QmxClipInfo &info, qint64 frame)
{
    return frame > 0 ? info.timecodeAt(frame - 1).advanced(1) : info.timecodeAt(0);
}

std::optional<Edl::Event> eventOf(const Material &material, const QmxClipPart::Range &range,
                                  QmxTimecode &record, QString &why)
{
    Edl::Event event;
    event.reel = Edl::reelOf(material.clip);
    event.clip = material.clip;
    event.sourceIn = material.info.timecodeAt(range.first);
    event.sourceOut = timecodeBehind(material.info, range.end);
    if (!event.sourceIn.isValid() || !event.sourceOut.isValid()) {
        why = QStringLiteral("%1 has no timecode there, and an edit decision list knows no frame numbers")
                  .arg(material.clip);
        return {};
    }
    // A jump of the timecode inside would make it another length.
    if (event.sourceIn.advanced(int(range.frames())) != event.sourceOut) {
        why =
            QStringLiteral("the timecode of %1 jumps between frames %2 and %3; make parts of it that run on")
                .arg(material.clip)
                .arg(range.first)
                .arg(range.end);
        return {};
    }
    if (!record.isValid())
        record = QmxTimecode(recordHour, 0, 0, 0, event.sourceIn.fps(), event.sourceIn.isDropFrame());
    event.recordIn = record;
    record = record.advanced(int(range.frames()));
    event.recordOut = record;
    return event;
}

/// Nothing, or why timecodes of this list cannot be those of the clip.
QString whyOtherRate(const Edl &edl, const Edl::Event &event, const QmxClipInfo &info)
{
    const QmxTimecode first = info.timecodeAt(0);
    const int frames = std::max(event.sourceIn.frames(), event.sourceOut.frames());
    if (first.isValid() && frames >= first.fps())
        return QStringLiteral(
                   "the list counts to frame %1, the clip has %2 a second: it was made for another "
                   "rate")
            .arg(frames)
            .arg(first.fps());
    if (first.isValid() && edl.dropFrame != first.isDropFrame())
        return edl.dropFrame ? QStringLiteral("the list counts in drop frame, the clip does not")
                             : QStringLiteral("the clip counts in drop frame, the list does not");
    return {};
}

/// Programs leave the ending of a name out.
bool isOfClip(const Edl::Event &event, const QString &clip)
{
    return event.clip.isEmpty() ? event.reel.compare(Edl::reelOf(clip), Qt::CaseInsensitive) == 0
                                : event.clip == clip || event.clip == clip.section('.', 0, -2);
}

/// An event that is as long in the list as in its clip; else it was to be played at another speed.
bool isAtItsSpeed(const Edl::Event &event, const QmxTimecode &kind)
{
    const auto frames = [&kind](QmxTimecode from, QmxTimecode to) {
        for (QmxTimecode *const one : {&from, &to}) {
            one->setFPS(kind.fps());
            one->setDropFrame(kind.isDropFrame());
        }
        return to.toFrameNumber() - from.toFrameNumber();
    };
    return frames(event.sourceIn, event.sourceOut) == frames(event.recordIn, event.recordOut);
}

/// The frames of an event in the file that it is from.
std::optional<QmxClipPart::Range> rangeOf(const Edl &edl, const Edl::Event &event, const Material &material,
                                          QString &why)
{
    why = whyOtherRate(edl, event, material.info);
    if (!why.isEmpty()) return {};
    const auto first = QmxClipPart::frameAt(material.info, event.sourceIn.toString());
    const auto end = QmxClipPart::frameAt(material.info, event.sourceOut.toString(), true);
    if (first && end && *first < *end) return QmxClipPart::Range{*first, *end};
    why = QStringLiteral("%1 has no frames from %2 to %3: %4")
              .arg(material.clip, event.sourceIn.toString(), event.sourceOut.toString(), material.describe());
    return {};
}
} // namespace

std::optional<QString> EdlOf::marks(const Material &material, const ClipMarks &marks, QString &why)
{
    Edl edl;
    QmxTimecode record;
    QmxClipPart::Range range;
    range.first = marks.in.value_or(0);
    range.end = std::min(marks.out.value_or(material.info.frames), material.info.frames);
    if (range.frames() < 1) {
        why = QStringLiteral("the marked part of %1 has no frames").arg(material.clip);
        return {};
    }
    auto event = eventOf(material, range, record, why);
    if (!event) return {};
    for (const ClipMarks::Point &point : marks.points)
        if (const QmxTimecode at = material.info.timecodeAt(point.frame); at.isValid())
            event->locators.append({at, point.name});
    edl.title = material.clip.section('.', 0, -2);
    edl.dropFrame = event->sourceIn.isDropFrame();
    edl.events.append(*event);
    return edl.toText();
}

std::optional<QString> EdlOf::list(const Recorder &recorder, const QStringList &entries, QString &why)
{
    Edl edl;
    edl.title = QStringLiteral("PLAY LIST");
    QmxTimecode record;
    for (const QString &entry : entries) {
        const Material material = Material::of(recorder, entry);
        if (!material.isThere()) {
            why = material.why;
            return {};
        }
        const auto event = eventOf(material, material.range, record, why);
        if (!event) return {};
        const QmxTimecode &in = event->sourceIn;
        if (!edl.events.isEmpty() && (in.fps() != record.fps() || in.isDropFrame() != edl.dropFrame)) {
            why = QStringLiteral("%1 counts otherwise than the entries before it; one list has one rate")
                      .arg(material.clip);
            return {};
        }
        edl.dropFrame = in.isDropFrame();
        edl.events.append(*event);
    }
    if (!edl.events.isEmpty()) return edl.toText();
    why = QStringLiteral("the play list is empty");
    return {};
}

std::optional<ClipMarks> EdlOf::marksFrom(const QString &text, const Material &material, QString &why)
{
    const auto edl = Edl::fromText(text, why);
    if (!edl) return {};
    ClipMarks marks;
    for (const Edl::Event &event : edl->events) {
        if (!isOfClip(event, material.clip)) continue;
        const auto range = rangeOf(*edl, event, material, why);
        if (!range) return {};
        if (!marks.in) {
            marks.in = range->first;
            marks.out = range->end;
        }
        for (const Edl::Locator &locator : event.locators) {
            const auto frame = QmxClipPart::frameAt(material.info, locator.at.toString());
            const auto name = ClipMarks::nameFrom(locator.name);
            if (!frame || !name || !marks.setPoint(*name, *frame)) {
                why = QStringLiteral("%1 cannot have a mark '%2' at %3: %4")
                          .arg(material.clip, locator.name, locator.at.toString(), material.describe());
                return {};
            }
        }
    }
    if (marks.in) return marks;
    why = QStringLiteral("no event of the list is from %1").arg(material.clip);
    return {};
}

namespace {
/// The entry of a play list that an event becomes. Of a reel there may be several clips; its timecode tells
/// which one is meant. What other programs have made, as a proxy, stands behind the clips of our own.
std::optional<QString> entryOf(const Edl &edl, const Edl::Event &event, const QStringList &names,
                               const Recorder &recorder, QString &why)
{
    const QString called = event.clip.isEmpty() ? event.reel : event.clip;
    why = QStringLiteral("there is no clip '%1' on the active medium").arg(called);
    QStringList own, foreign;
    for (const QString &name : names) {
        if (!isOfClip(event, name)) continue;
        const Material material = Material::of(recorder, name);
        if (!material.isThere()) {
            why = material.why;
            continue;
        }
        const auto range = rangeOf(edl, event, material, why);
        if (!range) continue;
        if (!isAtItsSpeed(event, material.info.timecodeAt(0))) {
            why = QStringLiteral(
                      "%1 from %2 to %3 is of another length in the list: no speed but its own can be "
                      "played there")
                      .arg(name, event.sourceIn.toString(), event.sourceOut.toString());
            return {};
        }
        (material.info.foreign ? foreign : own)
            .append(QStringLiteral("%1[%2-%3)").arg(name).arg(range->first).arg(range->end));
    }
    const QStringList &found = own.isEmpty() ? foreign : own;
    if (found.size() == 1) return found.first();
    if (!found.isEmpty())
        why = QStringLiteral("'%1' from %2 may be %3; a line '* FROM CLIP NAME: ...' tells which")
                  .arg(called, event.sourceIn.toString(), found.join(QStringLiteral(" or ")));
    return {};
}
} // namespace

std::optional<QStringList> EdlOf::listFrom(const QString &text, Recorder &recorder, QString &why)
{
    const auto edl = Edl::fromText(text, why);
    if (!edl) return {};
    QStringList names;
    ClipFinder finder(&recorder.config());
    for (const Clip &clip : finder.findClips(true, false, true))
        names.append(QString::fromStdString(clip.getName()));
    QStringList entries;
    for (const Edl::Event &event : edl->events) {
        const auto entry = entryOf(*edl, event, names, recorder, why);
        if (!entry) return {};
        entries.append(*entry);
    }
    return entries;
}
