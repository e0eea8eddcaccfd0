// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxmetadata.h"

#include <QHash>

/// The metadata of a frame by key. A value; copies share.
class QmxMetadataHash
{
public:
    /// The value of a key; an invalid QVariant when absent.
    QVariant value(const QmxId &key) const { return _items.value(key); }
    bool contains(const QmxId &key) const { return _items.contains(key); }
    /// Sets a key; one that is not valid is ignored.
    void insert(const QmxMetadata &item) { insert(item.id(), item.value()); }
    void insert(const QmxId &key, const QVariant &value)
    {
        if (key.isValid()) _items.insert(key, value);
    }
    void remove(const QmxId &key) { _items.remove(key); }
    bool isEmpty() const { return _items.isEmpty(); }
    int size() const { return int(_items.size()); }
    QList<QmxId> keys() const { return _items.keys(); }
    bool isValid() const { return !_items.isEmpty(); }

    friend bool operator==(const QmxMetadataHash &, const QmxMetadataHash &) = default;

private:
    QHash<QmxId, QVariant> _items;
};

Q_DECLARE_METATYPE(QmxMetadataHash)
