// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QMetaType>
#include <QSharedDataPointer>
#include <QString>
#include <QVariant>

/// One clip of a play list: its name, where it is and how many frames of it are played. An implicitly
/// shared value; default-constructed it is not valid.
class QmxPlayListEntry
{
public:
    QmxPlayListEntry();
    QmxPlayListEntry(const QmxPlayListEntry &other);
    QmxPlayListEntry &operator=(const QmxPlayListEntry &other);
    ~QmxPlayListEntry();

    /// The clip's file name, as the operator knows it.
    void setName(const QString &name);
    QString name() const;
    /// What a stream opens: a QString with the clip's path.
    void setDesc(const QVariant &desc);
    QVariant desc() const;
    /// Frames of the clip that belong to the list, from its first one on; negative counts as 0.
    void setLength(int length);
    int length() const;
    /// Something has been set.
    bool isValid() const;

    bool operator==(const QmxPlayListEntry &other) const;
    bool operator!=(const QmxPlayListEntry &other) const { return !(*this == other); }

private:
    struct Data;
    QSharedDataPointer<Data> d;
};

Q_DECLARE_METATYPE(QmxPlayListEntry)
