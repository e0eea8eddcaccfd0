// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/core/qmxlog.h"

#include "platform/qmx/core/qmxenvironment.h"
#include "platform/qmx/core/qmxloglevel.h"
#include "platform/qmx/core/qmxlogstream.h"
#include "platform/qmx/core/qmxlogwriter.h"
#include "platform/qmx/core/qmxprintable.h"

#include <QList>

#include <atomic>
#include <cstdarg>
#include <cstdlib>
#include <mutex>

static constexpr qsizetype longestText = 16'384;

struct QmxLog::Private
{
    std::atomic<int> level{defaultLevel};
    mutable std::mutex mutex;
    QList<QmxLogTap *> taps;
    QmxLogWriter *writer = nullptr; // never destroyed: logging works until the process is gone

    QmxLogWriter *startWriter();
};

QmxLogWriter *QmxLog::Private::startWriter()
{
    std::lock_guard lock(mutex);
    if (!writer) {
        writer = new QmxLogWriter;
        taps.append(writer);
        std::atexit([] { defaultLog()->flush(); });
    }
    return writer;
}

QmxLog::QmxLog() : d(std::make_unique<Private>()) {}
QmxLog::~QmxLog() = default;

QmxLog *QmxLog::defaultLog()
{
    static QmxLog *const log = new QmxLog;
    return log;
}

void QmxLog::write(int level, const QString &source, int line, const QString &text)
{
    if (level > d->level.load(std::memory_order_relaxed)) return;
    QmxLogRecord record;
    record.wallTime = QmxEnvironment::current().clock->wallTime();
    record.level = level;
    record.source = source;
    record.line = line;
    record.text = text;
    while (record.text.endsWith(u'\n'))
        record.text.chop(1);
    record.text = qmxPrintable(record.text, longestText);
    std::lock_guard lock(d->mutex);
    for (QmxLogTap *tap : std::as_const(d->taps))
        tap->record(record);
}

void QmxLog::setLevel(int highestWritten)
{
    d->level = highestWritten;
}

int QmxLog::level() const
{
    return d->level;
}

void QmxLog::openFile(const QString &path, qint64 maximumBytes)
{
    d->startWriter()->openFile(path, maximumBytes);
}

void QmxLog::openDisplay()
{
    d->startWriter()->openDisplay();
}

void QmxLog::addTap(QmxLogTap *tap)
{
    std::lock_guard lock(d->mutex);
    d->taps.append(tap);
}

void QmxLog::removeTap(QmxLogTap *tap)
{
    std::lock_guard lock(d->mutex);
    d->taps.removeAll(tap);
}

void QmxLog::flush()
{
    QmxLogWriter *writer = nullptr;
    {
        std::lock_guard lock(d->mutex);
        writer = d->writer;
    }
    if (writer) writer->flush();
}

qint64 QmxLog::dropped() const
{
    std::lock_guard lock(d->mutex);
    return d->writer ? d->writer->dropped() : 0;
}

void qmxLogOutput(int level, const char *source, int line, const char *format, ...)
{
    QmxLog *const log = QmxLog::defaultLog();
    if (level > log->level()) return;
    va_list arguments;
    va_start(arguments, format);
    const QString text = QString::vasprintf(format, arguments);
    va_end(arguments);
    log->write(level, QString::fromUtf8(source), line, text);
}

void qmxLogText(int level, const char *source, int line, const QString &text)
{
    QmxLog *const log = QmxLog::defaultLog();
    if (level <= log->level()) log->write(level, QString::fromUtf8(source), line, text);
}

void qmxLogOpenFile(const QString &path)
{
    QmxLog::defaultLog()->openFile(path);
}

void qmxLogOpenDisplay()
{
    QmxLog::defaultLog()->openDisplay();
}

void qmxLogSetLevel(int highestWritten)
{
    QmxLog::defaultLog()->setLevel(highestWritten);
}

QmxLogStream::QmxLogStream(const char *source, int line, int level, QmxLog *log)
    : _source(source), _line(line), _level(level), _log(log), _wanted(level <= log->level()), _stream(&_text)
{}

QmxLogStream::~QmxLogStream()
{
    if (_wanted) _log->write(_level, QString::fromUtf8(_source), _line, _text);
}
