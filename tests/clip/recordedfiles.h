// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxfiles.h"

#include <gtest/gtest.h>

#include <QFile>
#include <QHash>

#include <algorithm>
#include <functional>

/// Remembers everything that is done to files.
class RecordedFiles : public QmxFiles
{
public:
    struct Act
    {
        enum Kind { Write, Resize, Sync };
        Kind kind;
        QString path;
        qint64 at = 0; ///< or the size
        QByteArray bytes;
    };
    QList<Act> acts;
    QList<qsizetype> writes; ///< how many acts there were behind each

    int open(const QString &path, int flags, mode_t mode) override
    {
        const int fd = QmxFiles::open(path, flags, mode);
        if (fd >= 0) _paths[fd] = path;
        return fd;
    }
    ssize_t pwrite(int fd, const void *data, size_t size, off64_t offset) override
    {
        const ssize_t written = QmxFiles::pwrite(fd, data, size, offset);
        const auto *bytes = static_cast<const char *>(data);
        for (qint64 done = 0; done < written; done += block) // a disk promises no more than sectors
            acts.append({Act::Write, _paths[fd], offset + done,
                         QByteArray(bytes + done, qsizetype(std::min<qint64>(block, written - done)))});
        writes.append(acts.size());
        return written;
    }
    int ftruncate(int fd, off64_t size) override
    {
        acts.append({Act::Resize, _paths[fd], size, {}});
        return QmxFiles::ftruncate(fd, size);
    }
    int fdatasync(int fd) override
    {
        acts.append({Act::Sync, _paths[fd], 0, {}});
        return QmxFiles::fdatasync(fd);
    }

    /// A file as a cut after so many acts may leave it; `keeps` says of each write that was not synced
    /// whether it has arrived. A disk that `lies` does not heed syncs.
    void leave(const QString &path, qsizetype count, const std::function<bool()> &keeps, bool lies) const
    {
        qsizetype synced = 0;
        for (qsizetype i = 0; i < count && !lies; ++i)
            if (acts[i].kind == Act::Sync && acts[i].path == path) synced = i;
        QFile file(path);
        ASSERT_TRUE(file.open(QFile::ReadWrite | QFile::Truncate));
        for (qsizetype i = 0; i < count; ++i) {
            if (acts[i].path != path || acts[i].kind == Act::Sync || (i > synced && !keeps())) continue;
            if (acts[i].kind == Act::Resize)
                file.resize(acts[i].at);
            else if (file.seek(acts[i].at))
                file.write(acts[i].bytes);
        }
    }

private:
    static constexpr qint64 block = 512;
    QHash<int, QString> _paths;
};
