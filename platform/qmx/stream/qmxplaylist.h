// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/stream/qmxplaylistentry.h"

#include <QMetaType>
#include <QSharedDataPointer>

/// Clips that are played as one long stream, in this order; one clip may stand in it several times. An
/// implicitly shared value; a stream takes it as its descriptor (QVariant::fromValue).
class QmxPlayList
{
public:
    QmxPlayList();
    QmxPlayList(const QmxPlayList &other);
    QmxPlayList &operator=(const QmxPlayList &other);
    ~QmxPlayList();

    int size() const;
    bool isEmpty() const { return size() == 0; }
    /// The entry at an index, which must lie inside the list.
    const QmxPlayListEntry &at(int index) const;
    /// The entry at an index; outside the list an entry that is not valid.
    QmxPlayListEntry value(int index) const;
    /// The last entry; of an empty list an entry that is not valid.
    QmxPlayListEntry last() const;
    void append(const QmxPlayListEntry &entry);

    /// The stream's frame number at which an entry begins; -1 for an index outside the list.
    int firstFrameOfEntry(int index) const;
    /// The sum of all lengths.
    int frames() const;

    /// Equal names, descriptors and lengths in the same order.
    bool operator==(const QmxPlayList &other) const;
    bool operator!=(const QmxPlayList &other) const { return !(*this == other); }

private:
    struct Data;
    QSharedDataPointer<Data> d;
};

Q_DECLARE_METATYPE(QmxPlayList)
