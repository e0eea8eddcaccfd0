// SPDX-License-Identifier: GPL-3.0-or-later
#include "companions/panel/waveforms.h"

#include "platform/qmx/core/qmxenvironment.h"

#include <QFile>

#include <cerrno>

#include <sys/stat.h>

namespace {
/// Of a file that has changed it is another one.
QByteArray keyOf(const QString &path, qint64 first, qint64 end, int columns)
{
    struct stat file = {};
    stat(QFile::encodeName(path).constData(), &file);
    QByteArray key = path.toUtf8() + '\0';
    for (const qint64 part : {qint64(file.st_size), qint64(file.st_mtim.tv_sec), qint64(file.st_mtim.tv_nsec),
                              first, end, qint64(columns)})
        key += ' ' + QByteArray::number(part);
    return key;
}
} // namespace

QmxError Waveforms::peaks(const QString &path, qint64 first, qint64 end, int columns,
                          QmxClipWaveform::Peaks &peaks)
{
    const QByteArray key = keyOf(path, first, end, columns);
    {
        const std::lock_guard lock(_mutex);
        if (const auto known = _known.constFind(key); known != _known.constEnd()) {
            peaks = *known;
            return {};
        }
    }
    const std::unique_lock reads(_reading, std::try_to_lock);
    if (!reads) return QmxError(EBUSY);
    const QmxError error = QmxClipWaveform::make(path, first, end, columns, QmxEnvironment::current(), peaks);
    const std::lock_guard lock(_mutex);
    if (_known.size() >= most) _known.clear();
    if (!error.isError()) _known.insert(key, peaks);
    return error;
}
