// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/clip/qmxclipchapters.h"
#include "platform/qmx/clip/qmxclipinfo.h"
#include "platform/qmx/core/qmxenvironment.h"
#include "platform/qmx/core/qmxerror.h"

#include <QList>
#include <QString>

#include <functional>
#include <optional>

/// The marks of a clip: where the part begins and ends that is to be played, and points with names. They lie
/// beside the clip in a hidden file of lines with a checksum, ".NAME.marks": the file of the clip itself is
/// the recorder's as long as it grows. Frames are counted from the clip's first. A value.
struct ClipMarks
{
    struct Point
    {
        qint64 frame = 0;
        QString name;
        friend bool operator==(const Point &, const Point &) = default;
    };

    std::optional<qint64> in;
    std::optional<qint64> out; ///< one behind the last frame of the part
    QList<Point> points;       ///< by frame; no two of one name

    static constexpr int mostPoints = 1000;
    static constexpr int longestName = 80;

    bool isEmpty() const { return !in && !out && points.isEmpty(); }
    /// Nothing when such a name cannot be kept: empty, too long, with control characters.
    static std::optional<QString> nameFrom(const QString &text);
    /// Sets a point; one of this name moves. False: there are too many.
    bool setPoint(const QString &name, qint64 frame);
    bool removePoint(const QString &name);
    const Point *point(const QString &name) const;

    QByteArray toText() const;
    /// Nothing when the text is damaged, or no such text.
    static std::optional<ClipMarks> fromText(const QByteArray &text);

    /// As chapters of a file that other programs read: the ends of the part are called "in" and "out".
    QList<QmxClipChapter> chapters() const;
    static ClipMarks fromChapters(const QList<QmxClipChapter> &chapters);

    /// The file that belongs to a clip; its name begins with a dot, so that no list of clips shows it.
    static QString fileOf(const QString &clipPath);

    friend bool operator==(const ClipMarks &, const ClipMarks &) = default;
};

/// Reads and changes the marks of clips on a medium. Blocks on it; any thread.
namespace ClipMarksFile {
/// The marks of a clip; where there is no file the chapters that stand in the clip itself. A file that makes
/// no sense is put aside under ".NAME.marks.damaged", and `told` says so.
ClipMarks read(const QString &clipPath, QString &told,
               const QmxEnvironment &environment = QmxEnvironment::current());
/// Changes them, one at a time over all processes; what is there before or after survives a crash. `change`
/// returning an error leaves them as they are.
QmxError change(const QString &clipPath, const std::function<QmxError(ClipMarks &)> &change, QString &told,
                const QmxEnvironment &environment = QmxEnvironment::current());
/// The marks go where the clip goes: copied or renamed to `to`; empty: deleted. No marks are no error.
QmxError follow(const QString &from, const QString &to, bool copy,
                const QmxEnvironment &environment = QmxEnvironment::current());
} // namespace ClipMarksFile
