// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/clip/qmxclipinfo.h"
#include "platform/qmx/stream/streamreadersource.h"

#include <QString>
#include <QStringList>

/// What one open() of a stream asked for.
struct StreamAsk
{
    int number = 0; ///< counts the opens
    bool writes = false;
    StreamReaderSource source;
    QmxClipInfo clip;       ///< writing: what it shall be
    QString mirrorFolder;   ///< writing: where the clip is written as well; empty: nowhere
    bool cancelled = false; ///< close() has been called before it was open

    QString path() const { return source.entries.isEmpty() ? QString() : source.entries.constFirst().path; }
    /// Of all copies that are to be written, the stream's own first.
    QStringList paths() const;
    /// For the operator: the path, or how many clips the list has.
    QString what() const;
};
