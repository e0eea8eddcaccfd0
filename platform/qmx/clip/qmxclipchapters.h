// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxenvironment.h"
#include "platform/qmx/core/qmxerror.h"

#include <QList>
#include <QString>

/// A place in a clip with a name, as players and editing programs show it. A value.
struct QmxClipChapter
{
    qint64 frame = 0; ///< its first
    QString name;
    friend bool operator==(const QmxClipChapter &, const QmxClipChapter &) = default;
};

/// The chapters that stand in a file itself.
namespace QmxClipChapters {
/// Those of a clip, of ours or of another program, that have names; none when it has none, grows, or is a
/// folder of pictures. Errors: as of opening a clip. Blocks on the medium; any thread.
QmxError read(const QString &clip, QList<QmxClipChapter> &chapters, const QmxEnvironment &environment);
} // namespace QmxClipChapters
