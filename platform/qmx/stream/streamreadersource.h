// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QList>
#include <QString>
#include <QVariant>

#include <optional>

/// What a read stream's descriptor stands for: clips, one after the other. A value.
struct StreamReaderSource
{
    struct Entry
    {
        QString name;   ///< as the list calls it
        QString path;   ///< empty: the list names no file
        int first = 0;  ///< number of its first frame in the stream
        int length = 0; ///< in frames; of a single clip not known before it is open
    };

    QList<Entry> entries; ///< those without frames left out, but for a single clip
    QList<int> listIndex; ///< of each entry in the play list
    bool isList = false;
    int length = 0; ///< of the whole list

    /// A path (QString) or a QmxPlayList; nothing for anything else, an empty path or an empty list.
    static std::optional<StreamReaderSource> fromDesc(const QVariant &desc);
    /// The entry in which a frame of the stream lies (index into `entries`); -1 outside a list.
    int entryOf(int frame) const;
};
