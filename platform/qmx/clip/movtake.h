// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/clip/movformat.h"
#include "platform/qmx/clip/movfragment.h"
#include "platform/qmx/core/qmxenvironment.h"

#include <QHash>
#include <QJsonArray>
#include <QJsonObject>

/// The record of a take: who made it, when, on what medium, and what happened meanwhile. A JSON object. What
/// is known at the begin stands in the second block of the file, growing or closed; the proof at the end of a
/// closed clip has all of it.
class MovTake
{
public:
    /// At most so many of each kind are listed one by one.
    static constexpr int mostListed = 256;

    /// What is known when the first frames of `path` are written. Of a take that begins behind the frame it
    /// was asked for the writer adds "late_start": "asked", as it was asked for, and "frames" behind it.
    static QJsonObject begun(const QString &path, const QmxEnvironment &environment);
    /// Into a header as MovTables::openHeader() makes it.
    static void write(QByteArray &header, const QJsonObject &take);
    /// Out of one; empty when it has none.
    static QJsonObject read(const QByteArray &header);

    void append(const MovFragment &fragment, const MovFormat &format);
    /// Adds to what was known at the begin what has happened since. `by`: who closed the clip.
    QJsonObject ended(QJsonObject take, const QString &by, const QmxEnvironment &environment) const;

private:
    void addLoss(qint64 frame, qint64 count);
    void list(const char *kind, const QJsonObject &event);

    qint64 _frames = 0;
    qint64 _lost = 0;
    qint64 _replaced = 0;
    qint64 _lateTicks = 0;
    QHash<QString, QJsonArray> _events; ///< by kind
    QHash<QString, qint64> _leftOut;
};
