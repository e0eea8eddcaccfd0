// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxenvironment.h"

#include <QByteArray>

/// The file of the log: appended to, renamed to PATH.1 when it has grown, tried again when it cannot be
/// written, with alarm 1916 meanwhile. Used by the log's thread only.
class QmxLogFile
{
public:
    QmxLogFile(const QString &path, qint64 maximumBytes);
    ~QmxLogFile();
    QmxLogFile(const QmxLogFile &) = delete;
    QmxLogFile &operator=(const QmxLogFile &) = delete;

    /// Lines that cannot be written are lost; what was lost is said when it can be written again.
    /// Opens the file; that it cannot is told like a line that cannot be written.
    void begin();
    void write(const QByteArray &line);

private:
    bool open();
    bool put(const QByteArray &bytes);
    void rotate();
    void failed(int error);
    void recovered();

    QString _path;
    qint64 _maximumBytes;
    QmxEnvironment _environment;
    int _fd = -1;
    qint64 _size = 0;
    bool _rotates = false; // a regular file
    bool _failing = false;
    qint64 _retryAt = 0;
    qint64 _lost = 0;
};
