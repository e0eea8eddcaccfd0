// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/core/qmxlogfile.h"

#include "platform/qmx/core/qmxalarmcontroller.h"
#include "platform/qmx/core/qmxcounted.h"
#include "platform/qmx/core/qmxerror.h"
#include "platform/qmx/core/qmxids.h"
#include "platform/qmx/core/qmxlog.h"

#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

static constexpr std::chrono::seconds retryInterval(5);

QmxLogFile::QmxLogFile(const QString &path, qint64 maximumBytes)
    : _path(path), _maximumBytes(maximumBytes), _environment(QmxEnvironment::current())
{}

QmxLogFile::~QmxLogFile()
{
    if (_fd >= 0) _environment.files->close(_fd);
}

bool QmxLogFile::open()
{
    // Not blocking: a pipe without a reader is an error, not a halt.
    _fd = _environment.files->openAny(_path, O_WRONLY | O_CREAT | O_APPEND | O_NOCTTY | O_NONBLOCK, 0644);
    if (_fd < 0) return false;
    struct stat64 status = {};
    if (_environment.files->fstat(_fd, &status) != 0) return false;
    _rotates = S_ISREG(status.st_mode);
    _size = _rotates ? status.st_size : 0;
    return true;
}

void QmxLogFile::begin()
{
    errno = 0;
    if (_fd < 0 && !open()) failed(errno);
}

void QmxLogFile::write(const QByteArray &line)
{
    const qint64 now = _environment.clock->now();
    if (_failing && now < _retryAt) {
        ++_lost;
        return;
    }
    errno = 0;
    if (_rotates && _size > 0 && _size + line.size() > _maximumBytes) rotate();
    if ((_fd < 0 && !open()) || !put(line)) {
        failed(errno);
        return;
    }
    if (_failing) recovered();
}

bool QmxLogFile::put(const QByteArray &bytes)
{
    qsizetype done = 0;
    while (done < bytes.size()) {
        ssize_t written =
            _environment.files->pwrite(_fd, bytes.constData() + done, size_t(bytes.size() - done), _size);
        if (written < 0 && errno == ESPIPE) // a pipe or a terminal
            written = ::write(_fd, bytes.constData() + done, size_t(bytes.size() - done));
        if (written < 0 && errno == EINTR) continue;
        if (written <= 0) return false;
        done += written;
        _size += written;
    }
    return true;
}

void QmxLogFile::rotate()
{
    _environment.files->close(_fd);
    _fd = -1;
    const auto numbered = [this](int number) { return QStringLiteral("%1.%2").arg(_path).arg(number); };
    for (int number = QmxLog::keptFiles - 1; number >= 1; --number)
        _environment.files->rename(numbered(number), numbered(number + 1));
    // A directory that allows no renaming: the log starts over rather than grow without bound.
    if (_environment.files->rename(_path, numbered(1)) != 0) _environment.files->unlink(_path);
}

void QmxLogFile::failed(int error)
{
    if (_fd >= 0) _environment.files->close(_fd);
    _fd = -1;
    ++_lost;
    _retryAt = _environment.clock->after(retryInterval);
    if (_failing) return;
    _failing = true;
    const QString text =
        QStringLiteral("The log file %1 cannot be written: %2; free or replace its disk, recording goes on")
            .arg(_path, QmxError(error ? error : EIO).toString());
    QmxAlarmController::post(
        QmxAlarm(QmxIds::alarmLogOutputFailed, QmxAlarm::Warning, text, "qmxlogfile", __LINE__));
}

void QmxLogFile::recovered()
{
    _failing = false;
    put(QStringLiteral("(%1 lost: the log file could not be written)\n")
            .arg(qmxCounted(_lost, "line was", "lines were"))
            .toUtf8());
    _lost = 0;
    QmxAlarmController::post(
        QmxAlarm(QmxIds::alarmLogOutputFailed, QmxAlarm::Clear, QString(), "qmxlogfile", __LINE__));
}
