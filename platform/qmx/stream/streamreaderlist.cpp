// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/stream/streamreaderlist.h"

#include "platform/qmx/core/qmxroomtogrow.h"

#include <algorithm>
#include <cstdlib>

StreamReaderList::StreamReaderList(const StreamReaderSource &source, StreamReaderEntries &entries,
                                   const QmxEnvironment &environment)
    : _source(source), _entries(entries), _environment(environment)
{}

StreamAxis StreamReaderList::begin()
{
    for (int index = 0; index < _source.entries.size(); ++index) {
        if (_source.entries.at(index).length < qmxRoomToGrow) continue;
        Entry entry{StreamReaderGrowth(_source, _entries, _environment, index), {}};
        entry.now = entry.growth.begin();
        _open.emplace(index, std::move(entry));
    }
    return axis();
}

StreamAxis StreamReaderList::look(int entry, QString &ended)
{
    // Around the ends, too: whoever plays in a loop comes to the other one.
    const int count = int(_source.entries.size());
    for (auto &[index, open] : _open) {
        const int distance = std::abs(index - entry);
        if (!open.now.growing || std::min(distance, count - distance) > 1) continue;
        open.now = open.growth.look();
        if (!open.now.ended.isEmpty()) ended = open.now.ended;
    }
    return axis();
}

bool StreamReaderList::isGrowing() const
{
    return std::any_of(_open.begin(), _open.end(),
                       [](const auto &entry) { return entry.second.now.growing; });
}

StreamAxis StreamReaderList::axis() const
{
    StreamAxis axis(_source.length);
    for (const auto &[index, open] : _open) {
        const StreamReaderSource::Entry &entry = _source.entries.at(index);
        const int frames = int(std::min<qint64>(open.now.length, entry.length));
        if (frames == entry.length) continue;
        axis.append({entry.first, entry.first + frames, entry.first + entry.length, open.now.growing});
    }
    return axis;
}
