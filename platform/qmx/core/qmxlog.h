// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

#include <memory>

/// One line of the log.
struct QmxLogRecord
{
    qint64 wallTime = 0; ///< nanoseconds since 1970-01-01 00:00 UTC
    int level = 3;       ///< 1 error, 2 warning, 3 information, 4 debug
    QString source;      ///< module: "vtrobject"
    int line = 0;
    QString text; ///< without the line end
    int more = 0; ///< equal records that were folded into this one (outputs only)
};

/// Somebody who gets records: every one that passes the level, at once, on the thread that logs. Must be
/// quick, must not log, must outlive its registration.
class QmxLogTap
{
public:
    virtual ~QmxLogTap();
    virtual void record(const QmxLogRecord &record) = 0;
};

/// The log of the process. Any thread may log at any time; nobody waits for a file or a console: a thread
/// of the log's own ("qmx-log", started with the first output) writes behind a bounded queue; what does
/// not fit is dropped and counted in the log. Of equal records the first is written, then one now and then
/// with the count of the others. Line breaks inside a text are written as blanks, so a record is one line.
class QmxLog
{
public:
    static constexpr int defaultLevel = 2;

    static QmxLog *defaultLog();

    void write(int level, const QString &source, int line, const QString &text);
    /// Highest level written, 0 to 4.
    void setLevel(int highestWritten);
    int level() const;

    /// Opens the log file, in place of one opened before. A file that cannot be written is tried again every
    /// few seconds (alarm 1916 meanwhile); at `maximumBytes` it is renamed to "PATH.1" (".1" to ".2" ...).
    void openFile(const QString &path, qint64 maximumBytes = defaultMaximumBytes);
    /// Adds the console (standard error).
    void openDisplay();
    void addTap(QmxLogTap *tap);
    void removeTap(QmxLogTap *tap);
    /// Returns when what was logged before has reached the outputs, counts of folded records included, or
    /// after a second. For the end of the program and before an abort.
    void flush();
    /// Records dropped because the queue was full.
    qint64 dropped() const;

    static constexpr qint64 defaultMaximumBytes = 16 * 1024 * 1024;
    static constexpr int keptFiles = 3; ///< "PATH.1" to "PATH.3"

private:
    QmxLog();
    ~QmxLog();
    struct Private;
    std::unique_ptr<Private> d;
};

/// Logs a text in printf's manner; a line end at its end is not kept.
void qmxLogOutput(int level, const char *source, int line, const char *format, ...)
    __attribute__((format(printf, 4, 5)));
void qmxLogOpenFile(const QString &path);
void qmxLogOpenDisplay();
/// 1 error, 2 warning, 3 information, 4 debug; 0 nothing.
void qmxLogSetLevel(int highestWritten);
