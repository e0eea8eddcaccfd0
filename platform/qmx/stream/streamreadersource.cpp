// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/stream/streamreadersource.h"

#include "platform/qmx/stream/qmxplaylist.h"

namespace {

/// Brackets that make no sense belong to the name, under which nothing will be found.
QmxClipPart partOf(const QString &path)
{
    QmxClipPart whole;
    whole.clip = path;
    return QmxClipPart::fromText(path).value_or(whole);
}

} // namespace

std::optional<StreamReaderSource> StreamReaderSource::fromDesc(const QVariant &desc)
{
    StreamReaderSource source;
    if (desc.metaType() == QMetaType::fromType<QString>()) {
        const QString path = desc.toString();
        if (path.isEmpty()) return std::nullopt;
        const QmxClipPart part = partOf(path);
        source.entries.append({path.section(QLatin1Char('/'), -1), part.clip, 0, 0, part});
        source.listIndex.append(0);
        return source;
    }
    if (desc.metaType() != QMetaType::fromType<QmxPlayList>()) return std::nullopt;
    const QmxPlayList list = desc.value<QmxPlayList>();
    if (list.isEmpty()) return std::nullopt;
    source.isList = true;
    source.length = list.frames();
    for (int index = 0; index < list.size(); ++index) {
        const QmxPlayListEntry &entry = list.at(index);
        if (entry.length() == 0) continue;
        const QmxClipPart part = partOf(entry.desc().toString());
        source.entries.append({entry.name(), part.clip, list.firstFrameOfEntry(index), entry.length(), part});
        source.listIndex.append(index);
    }
    return source;
}
