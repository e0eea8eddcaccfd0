// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxlog.h"

#include <QTextStream>

/// Composes one record of the log and writes it at its end:
/// `QmxLogStream("vtrobject", 12, 3, QmxLog::defaultLog()) << QString("Mode %1").arg(name);`
class QmxLogStream
{
public:
    /// Mind the order: the line comes before the level here.
    QmxLogStream(const char *source, int line, int level, QmxLog *log);
    ~QmxLogStream();
    QmxLogStream(const QmxLogStream &) = delete;
    QmxLogStream &operator=(const QmxLogStream &) = delete;

    /// Whatever a QTextStream takes: QString, texts, numbers.
    template <class T>
    QmxLogStream &operator<<(const T &value)
    {
        if (_wanted) _stream << value;
        return *this;
    }
    QmxLogStream &operator<<(bool value) { return *this << (value ? "true" : "false"); }

private:
    const char *_source;
    int _line;
    int _level;
    QmxLog *_log;
    bool _wanted;
    QString _text;
    QTextStream _stream;
};
