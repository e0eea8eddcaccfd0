// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/stream/qmxplaylist.h"

#include <QList>
#include <QSharedData>

#include <limits>

struct QmxPlayList::Data : QSharedData
{
    QList<QmxPlayListEntry> entries;
    QList<int> firstFrames; ///< one more than entries: the last one is the length of the list
};

QmxPlayList::QmxPlayList() : d(new Data)
{
    d->firstFrames.append(0);
}

QmxPlayList::QmxPlayList(const QmxPlayList &other) = default;
QmxPlayList &QmxPlayList::operator=(const QmxPlayList &other) = default;
QmxPlayList::~QmxPlayList() = default;

int QmxPlayList::size() const
{
    return int(d->entries.size());
}

const QmxPlayListEntry &QmxPlayList::at(int index) const
{
    return d->entries.at(index);
}

QmxPlayListEntry QmxPlayList::value(int index) const
{
    return d->entries.value(index);
}

QmxPlayListEntry QmxPlayList::last() const
{
    return value(size() - 1);
}

void QmxPlayList::append(const QmxPlayListEntry &entry)
{
    // Frame numbers are ints: a list that would exceed them ends at the largest one.
    const qint64 end = qint64(frames()) + entry.length();
    d->entries.append(entry);
    d->firstFrames.append(int(qMin<qint64>(end, std::numeric_limits<int>::max())));
}

int QmxPlayList::firstFrameOfEntry(int index) const
{
    return index >= 0 && index < size() ? d->firstFrames.at(index) : -1;
}

int QmxPlayList::frames() const
{
    return d->firstFrames.constLast();
}

bool QmxPlayList::operator==(const QmxPlayList &other) const
{
    return d == other.d || d->entries == other.d->entries;
}
