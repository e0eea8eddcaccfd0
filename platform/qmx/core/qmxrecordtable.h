// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxtimecode.h"

#include <QList>
#include <QString>

#include <memory>
#include <optional>

/// What this process is recording now, and the timecode it recorded last.
///
/// Two readers need it: the timecode generator of the device continues after the last frame written (a
/// frame counts as written when it is handed to the cache of a record stream, the frame that triggered the
/// opening included, before it is handed over), and the clip list answers for a clip that is still being
/// recorded without touching its file. All members: any thread.
class QmxRecordTable
{
public:
    QmxRecordTable();
    ~QmxRecordTable();
    QmxRecordTable(const QmxRecordTable &) = delete;
    QmxRecordTable &operator=(const QmxRecordTable &) = delete;

    struct Entry
    {
        QString path;     ///< descriptor of the record stream
        int frames = 0;   ///< accepted so far, the pending first one included
        bool open = true; ///< false once it has been closed; the entry then lives until removed
    };

    /// The device tells every frame that it hands out in record; the one handed out last before a record
    /// stream is opened is that stream's pending first frame.
    void frameHandedOut(const QmxTimecode &timecode);

    /// Frames that a take begins with because they were captured before its command.
    struct Backlog
    {
        int frames = 0;
        qint64 bytes = 0;
    };
    /// The device begins a take, and ends it. Several record streams in one take continue each other.
    void takeBegins() { takeBegins(Backlog()); }
    void takeBegins(const Backlog &backlog);
    void takeEnds();
    /// What the take that runs began with; for the first who asks, who gets it all at once.
    Backlog takeBacklog();
    /// Number of the take that runs, from 1; 0: none.
    quint64 take() const;

    /// A record stream has been asked to open; the frame handed out last becomes its pending first one.
    void streamOpening(const QString &path);
    /// The open failed or was abandoned: its pending frame was not written.
    void streamOpenFailed(const QString &path);
    /// A frame has been handed to the stream's cache (`first`: the first of the stream).
    void frameWritten(const QString &path, const QmxTimecode &timecode, bool first);
    /// The file has been closed; the entry goes.
    void streamClosed(const QString &path);

    /// The entry of a clip that is being recorded, or nothing.
    std::optional<Entry> entry(const QString &path) const;
    QList<Entry> entries() const;

    /// Memory for the timecode generator; survives set-ups, modes and takes.
    struct Memory
    {
        QmxTimecode last;         ///< of the last frame written; not valid: none yet
        QmxTimecode lastNotFirst; ///< of the last frame written that was not the first of its stream
        quint64 written = 0;      ///< frames written since the program began
    };
    Memory memory() const;

private:
    struct Private;
    std::unique_ptr<Private> d;
};
