// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxid.h"

#include <QVariant>

/// One item of metadata. A value; the default is not valid.
class QmxMetadata
{
public:
    QmxMetadata() = default;
    QmxMetadata(const QmxId &id, const QVariant &value) : _id(id), _value(value) {}

    QmxId id() const { return _id; }
    QVariant value() const { return _value; }
    bool isValid() const { return _id.isValid(); }

    friend bool operator==(const QmxMetadata &, const QmxMetadata &) = default;

private:
    QmxId _id;
    QVariant _value;
};

Q_DECLARE_METATYPE(QmxMetadata)
