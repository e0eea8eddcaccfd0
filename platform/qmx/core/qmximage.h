// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxbuffer.h"
#include "platform/qmx/core/qmximagedesc.h"

#include <QList>

/// A picture as its data type says: coded bytes for ProRes, samples for the uncompressed types. A value;
/// copies share the bytes. One that is not valid still has a description: "no picture here".
class QmxImage
{
public:
    QmxImage() = default;
    /// No picture, of this format.
    explicit QmxImage(const QmxImageDesc &desc) : _desc(desc) {}
    /// Valid when there is a first buffer and it is valid.
    QmxImage(const QmxImageDesc &desc, const QList<QmxBuffer> &buffers)
        : _desc(desc), _buffers(buffers), _valid(!buffers.isEmpty() && buffers.first().isValid())
    {}

    QmxImageDesc desc() const { return _desc; }
    void setDesc(const QmxImageDesc &desc) { _desc = desc; }
    bool isValid() const { return _valid; }
    void setValid(bool valid) { _valid = valid; }
    QList<QmxBuffer> buffers() const { return _buffers; }

    /// Equal: description, validity and the same bytes (not: equal ones).
    friend bool operator==(const QmxImage &, const QmxImage &) = default;

private:
    QmxImageDesc _desc;
    QList<QmxBuffer> _buffers;
    bool _valid = false;
};

Q_DECLARE_METATYPE(QmxImage)
