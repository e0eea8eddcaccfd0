// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxenvironment.h"
#include "platform/qmx/core/qmxerror.h"

#include <QByteArray>

/// A file that is read at places that the file itself names. Small reads come out of a window that is read
/// ahead. One thread.
class MovInput
{
public:
    explicit MovInput(const QmxEnvironment &environment);
    ~MovInput();
    MovInput(const MovInput &) = delete;
    MovInput &operator=(const MovInput &) = delete;

    QmxError open(const QString &path);
    void close();
    bool isOpen() const { return _fd >= 0; }
    QString path() const { return _path; }

    qint64 size() const { return _size; }
    /// Asks for the size anew and forgets the window.
    QmxError refreshSize();

    /// Exactly `size` bytes; EILSEQ when the file does not have them.
    QmxError read(void *data, qint64 size, qint64 offset);
    /// The same through the window, for many small reads that follow one another.
    QmxError readSmall(void *data, qint64 size, qint64 offset);

    /// This will be read soon: the medium may begin to fetch it. Does not wait for it.
    void announce(qint64 offset, qint64 size);

    QmxError damaged(const char *what) const;

private:
    std::shared_ptr<QmxFiles> _files;
    QString _path;
    int _fd = -1;
    qint64 _size = 0;
    QByteArray _window;
    qint64 _windowOffset = 0;
};
