// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxid.h"

/// An alarm raised or cleared. A value; equal by id, level and message, wherever it was made.
class QmxAlarm
{
public:
    enum AlarmLevel { Clear = 0, Warning = 1, Error = 2 };

    QmxAlarm() = default;
    QmxAlarm(const QmxId &id, AlarmLevel level, const QString &message, const QString &sourceFile, int line)
        : _id(id), _level(level), _message(message), _sourceFile(sourceFile), _line(line)
    {}

    QmxId id() const { return _id; }
    AlarmLevel level() const { return _level; }
    void setLevel(AlarmLevel level) { _level = level; }
    QString message() const { return _message; }
    QString sourceFile() const { return _sourceFile; }
    int line() const { return _line; }
    bool isValid() const { return _id.isValid(); }
    bool isActive() const { return _level != Clear; }
    bool isWarning() const { return _level == Warning; }

    friend bool operator==(const QmxAlarm &a, const QmxAlarm &b)
    {
        return a._id == b._id && a._level == b._level && a._message == b._message;
    }

private:
    QmxId _id;
    AlarmLevel _level = Clear;
    QString _message;
    QString _sourceFile;
    int _line = 0;
};

Q_DECLARE_METATYPE(QmxAlarm)
