// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QMetaType>
#include <QString>

/// The outcome of an operation: a number (0 no error, else of errno's kind) and a sentence for the
/// operator. A value; equal by number and sentence.
class QmxError
{
public:
    QmxError() = default;
    QmxError(int value) : _value(value) {}
    /// `sentence` says what failed, where, and what to do; no full stop, no line end.
    QmxError(int value, const QString &sentence) : _value(value), _sentence(sentence) {}

    int value() const { return _value; }
    bool isError() const { return _value != 0; }
    /// The sentence; without one the system's text for the number; "No error" for 0.
    QString toString() const;

    friend bool operator==(const QmxError &, const QmxError &) = default;

private:
    int _value = 0;
    QString _sentence;
};

Q_DECLARE_METATYPE(QmxError)
