// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxid.h"

#include <QList>
#include <QString>

/// A look-up table: three runs (one a colour channel) of entries() 16-bit values, 0 to 1023. A value;
/// copies share until one is changed. Equal by id, data and file name.
class QmxImageLut
{
public:
    QmxImageLut() = default;
    /// All entries 0; a negative count gives an empty table.
    QmxImageLut(const QmxId &id, int entries) : _id(id), _data(3 * qMax(entries, 0), 0) {}

    QmxId id() const { return _id; }
    int entries() const { return int(_data.size() / 3); }
    bool isValid() const { return !_data.isEmpty(); }
    /// For writing: detaches from copies.
    short *lutData() { return _data.data(); }
    const short *lutData() const { return _data.constData(); }
    void setFilename(const QString &filename) { _filename = filename; }
    QString filename() const { return _filename; }

    friend bool operator==(const QmxImageLut &, const QmxImageLut &) = default;

private:
    QmxId _id;
    QList<short> _data;
    QString _filename;
};

Q_DECLARE_METATYPE(QmxImageLut)
