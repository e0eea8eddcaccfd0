// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QMetaType>
#include <QString>

/// An identifier of the framework: a format, a source, a mode, a key, an alarm. A value; equal by number.
/// 0 means "none" and is not valid; every other number is valid, named or not.
class QmxId
{
public:
    constexpr QmxId() = default;
    explicit constexpr QmxId(int value) : _value(value) {}

    constexpr int value() const { return _value; }
    constexpr bool isValid() const { return _value != 0; }
    /// Name for the operator; the number in decimal when the table has no row for it.
    QString name() const;

    friend constexpr bool operator==(QmxId, QmxId) = default;
    friend constexpr auto operator<=>(QmxId, QmxId) = default;

private:
    int _value = 0;
};

inline size_t qHash(QmxId id, size_t seed = 0)
{
    return ::qHash(id.value(), seed);
}

Q_DECLARE_METATYPE(QmxId)
