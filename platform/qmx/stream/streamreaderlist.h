// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/stream/streamaxis.h"
#include "platform/qmx/stream/streamreadergrowth.h"

#include <map>

/// The entries of a play list that had room left for them because somebody still recorded them when the list
/// was made: how many frames they have by now, and whether more will follow. Reader thread only.
///
/// Looked at are the entry that is read and its neighbours; the others are when it is their turn.
class StreamReaderList
{
public:
    StreamReaderList(const StreamReaderSource &source, StreamReaderEntries &entries,
                     const QmxEnvironment &environment);

    StreamAxis begin();
    /// Looks around the entry that is read. `ended`: why one of them ends that nobody has finished.
    StreamAxis look(int entry, QString &ended);
    /// One of them still grows.
    bool isGrowing() const;

private:
    struct Entry
    {
        StreamReaderGrowth growth;
        StreamReaderGrowth::Now now;
    };

    StreamAxis axis() const;

    const StreamReaderSource _source;
    StreamReaderEntries &_entries;
    const QmxEnvironment _environment;
    std::map<int, Entry> _open; ///< by their place
};
