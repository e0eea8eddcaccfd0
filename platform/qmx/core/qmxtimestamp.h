// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QMetaType>

#include <sys/time.h>

/// A moment of the day's clock in whole microseconds since 1970-01-01 00:00 UTC. A value; the default is
/// not valid.
class QmxTimeStamp
{
public:
    QmxTimeStamp() = default;
    explicit QmxTimeStamp(const timeval &time);
    /// Now, by the environment's clock.
    static QmxTimeStamp getCurrent();

    bool isValid() const { return _valid; }
    /// Seconds; 0 when not valid.
    double toDouble() const;

    friend bool operator==(const QmxTimeStamp &, const QmxTimeStamp &) = default;

private:
    qint64 _microseconds = 0;
    bool _valid = false;
};

Q_DECLARE_METATYPE(QmxTimeStamp)
