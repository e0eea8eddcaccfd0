// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QMetaType>
#include <QString>

/// Where in a play list a frame stands (metadata key 18). A value; default-constructed it is not valid, and
/// frames of a single clip carry none.
class QmxPlayListIndex
{
public:
    QmxPlayListIndex() = default;
    QmxPlayListIndex(const QString &entryName, int entryIndex, qint64 frame = 0)
        : _name(entryName), _index(entryIndex), _frame(frame)
    {}

    bool isValid() const { return _index >= 0; }
    QString entryName() const { return _name; }
    /// From 0.
    int entryIndex() const { return _index; }
    /// How many frames of the list come before this one. Its number may be higher: see StreamAxis.
    qint64 frame() const { return _frame; }

    /// The same entry.
    bool operator==(const QmxPlayListIndex &other) const
    {
        return _index == other._index && _name == other._name;
    }
    bool operator!=(const QmxPlayListIndex &other) const { return !(*this == other); }

private:
    QString _name;
    int _index = -1;
    qint64 _frame = 0;
};

Q_DECLARE_METATYPE(QmxPlayListIndex)
