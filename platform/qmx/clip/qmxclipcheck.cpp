// SPDX-License-Identifier: GPL-3.0-or-later
// What was found, in words and for scripts; how it is found: movcheck.cpp.
#include "platform/qmx/clip/qmxclipcheck.h"
#include "platform/qmx/core/qmxcounted.h"

#include <QJsonArray>

#include <algorithm>
#include <cstring>

namespace {

/// In a sentence; more are counted.
constexpr int mostTold = 4;

struct KindRow
{
    const char *name;
    const char *one;  ///< "1 picture"
    const char *many; ///< "%1 pictures"
};
constexpr KindRow kinds[QmxClipCheck::KindCount] = {
    {"picture", "1 picture is damaged", "%1 pictures are damaged"},
    {"sound", "the sound of 1 frame is damaged", "the sound of %1 frames is damaged"},
    {"timecode", "the timecode of 1 frame is damaged", "the timecodes of %1 frames are damaged"},
    {"table", "1 table is damaged", "%1 tables are damaged"},
    {"missing", "1 frame is missing", "%1 frames are missing"},
    {"chain", "1 frame is not the one that was recorded", "%1 frames are not those that were recorded"},
    {"padding", "unused bytes have changed in 1 place", "unused bytes have changed in %1 places"},
};

QString place(const QmxClipCheck::Damage &damage, const QmxClipInfo &info)
{
    if (damage.first < 0) return damage.what;
    QString text = damage.last > damage.first
                       ? QStringLiteral("frames %1 to %2").arg(damage.first).arg(damage.last)
                       : QStringLiteral("frame %1").arg(damage.first);
    if (const QmxTimecode from = info.timecodeAt(damage.first); from.isValid()) {
        text += QStringLiteral(", ") + from.toString();
        if (damage.last > damage.first)
            text += QStringLiteral(" to ") + info.timecodeAt(damage.last).toString();
    }
    return damage.what.isEmpty() ? text : QStringLiteral("%1 (%2)").arg(damage.what, text);
}

} // namespace

const char *QmxClipCheck::kindName(int kind)
{
    return kinds[kind].name;
}

bool QmxClipCheck::isWhole() const
{
    return std::all_of(std::begin(counts), std::end(counts), [](qint64 count) { return count == 0; });
}

QString QmxClipCheck::sentence() const
{
    const QString state = closed ? QString() : QStringLiteral(" up to its last flush");
    if (isWhole()) {
        const QString all = qmxCounted(frames, "frame is", "frames are");
        return chain.isEmpty()
                   ? QStringLiteral("%1 whole%2; the clip is from before clips carried a proof")
                         .arg(all, state)
                   : QStringLiteral("%1 whole%2, chain %3").arg(all, state, QString::fromLatin1(chain));
    }
    QStringList parts;
    for (int kind = 0; kind < KindCount; ++kind) {
        if (counts[kind] == 0) continue;
        QString part = counts[kind] == 1 ? QString::fromLatin1(kinds[kind].one)
                                         : QString::fromLatin1(kinds[kind].many).arg(counts[kind]);
        QStringList places;
        int left = 0;
        for (const Damage &one : damage) {
            if (one.kind != kind) continue;
            if (places.size() < mostTold)
                places.append(place(one, info));
            else
                ++left;
        }
        if (left > 0) places.append("and " + qmxCounted(left, "more place"));
        parts.append(QStringLiteral("%1: %2").arg(part, places.join(QStringLiteral("; "))));
    }
    return QStringLiteral("of %1%2 ").arg(qmxCounted(frames, "frame"), state) +
           parts.join(QStringLiteral(". "));
}

QJsonObject QmxClipCheck::toJson() const
{
    QJsonArray list;
    for (const Damage &one : damage) {
        QJsonObject object{{"kind", kindName(one.kind)}};
        if (one.first >= 0) {
            object["first"] = one.first;
            object["last"] = one.last;
            if (const QmxTimecode from = info.timecodeAt(one.first); from.isValid()) {
                object["first_timecode"] = from.toString();
                object["last_timecode"] = info.timecodeAt(one.last).toString();
            }
        }
        if (!one.what.isEmpty()) object["what"] = one.what;
        list.append(object);
    }
    QJsonObject totals;
    for (int kind = 0; kind < KindCount; ++kind)
        if (counts[kind] > 0) totals[QLatin1String(kindName(kind))] = counts[kind];
    return {{"is_whole", isWhole()}, {"is_closed", closed}, {"has_proof", hasProof},
            {"frames", frames},      {"bytes", bytes},      {"chain", QString::fromLatin1(chain)},
            {"damaged", totals},     {"damage", list}};
}
