// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/stream/qmxplaylistentry.h"

#include <QSharedData>

struct QmxPlayListEntry::Data : QSharedData
{
    QString name;
    QVariant desc;
    int length = 0;
    bool valid = false;
};

QmxPlayListEntry::QmxPlayListEntry() : d(new Data) {}
QmxPlayListEntry::QmxPlayListEntry(const QmxPlayListEntry &other) = default;
QmxPlayListEntry &QmxPlayListEntry::operator=(const QmxPlayListEntry &other) = default;
QmxPlayListEntry::~QmxPlayListEntry() = default;

void QmxPlayListEntry::setName(const QString &name)
{
    d->name = name;
    d->valid = true;
}

QString QmxPlayListEntry::name() const
{
    return d->name;
}

void QmxPlayListEntry::setDesc(const QVariant &desc)
{
    d->desc = desc;
    d->valid = true;
}

QVariant QmxPlayListEntry::desc() const
{
    return d->desc;
}

void QmxPlayListEntry::setLength(int length)
{
    d->length = qMax(0, length);
    d->valid = true;
}

int QmxPlayListEntry::length() const
{
    return d->length;
}

bool QmxPlayListEntry::isValid() const
{
    return d->valid;
}

bool QmxPlayListEntry::operator==(const QmxPlayListEntry &other) const
{
    return d == other.d || (d->valid == other.d->valid && d->length == other.d->length &&
                            d->name == other.d->name && d->desc == other.d->desc);
}
