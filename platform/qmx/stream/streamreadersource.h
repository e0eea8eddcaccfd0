// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/clip/qmxclippart.h"

#include <QList>
#include <QString>
#include <QStringList>
#include <QVariant>

#include <optional>

/// What a read stream's descriptor stands for: clips, one after the other. A value.
struct StreamReaderSource
{
    struct Entry
    {
        QString name;     ///< as the list calls it
        QString path;     ///< empty: the list names no file
        int first = 0;    ///< number of its first frame in the stream
        int length = 0;   ///< in frames; of a single clip not known before it is open
        QmxClipPart part; ///< which frames of the file; the whole of it unless isPart
    };

    QList<Entry> entries; ///< those without frames left out, but for a single clip
    QList<int> listIndex; ///< of each entry in the play list
    bool isList = false;
    int length = 0; ///< of the whole list
    /// Of a single clip that is opened again: the files into which its take has been followed before.
    QStringList sequels;

    /// A path (QString), which may name a part (QmxClipPart), or a QmxPlayList; nothing for anything else, an
    /// empty path or an empty list.
    static std::optional<StreamReaderSource> fromDesc(const QVariant &desc);
};
