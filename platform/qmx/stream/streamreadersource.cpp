// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/stream/streamreadersource.h"

#include "platform/qmx/stream/qmxplaylist.h"

#include <algorithm>

std::optional<StreamReaderSource> StreamReaderSource::fromDesc(const QVariant &desc)
{
    StreamReaderSource source;
    if (desc.metaType() == QMetaType::fromType<QString>()) {
        const QString path = desc.toString();
        if (path.isEmpty()) return std::nullopt;
        source.entries.append({path.section(QLatin1Char('/'), -1), path, 0, 0});
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
        source.entries.append(
            {entry.name(), entry.desc().toString(), list.firstFrameOfEntry(index), entry.length()});
        source.listIndex.append(index);
    }
    return source;
}

int StreamReaderSource::entryOf(int frame) const
{
    if (!isList) return 0;
    if (frame < 0 || frame >= length) return -1;
    const auto after = std::upper_bound(entries.begin(), entries.end(), frame,
                                        [](int value, const Entry &entry) { return value < entry.first; });
    return int(after - entries.begin()) - 1;
}
