// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/clip/qmxclipinfo.h"
#include "platform/qmx/clip/qmxclipreader.h"
#include "platform/qmx/core/qmxenvironment.h"
#include "platform/qmx/core/qmxerror.h"
#include "platform/qmx/stream/streamreadersource.h"

#include <deque>
#include <list>
#include <memory>
#include <mutex>
#include <optional>

/// The clips of a read stream, opened when they are needed, a few of them at a time, and what is known of
/// each. Shared by the stream's threads; the lock is never held during a call on a file. The clip readers
/// themselves are for one thread at a time: whoever opens one ahead leaves it alone afterwards.
class StreamReaderEntries
{
public:
    struct Description
    {
        QmxImageDesc image;
        QmxAudioDesc audio;
    };

    /// Where a frame of the stream is: in which entry, and its number in the file.
    struct Place
    {
        int index = -1;
        qint64 frame = 0;
    };

    StreamReaderEntries(const StreamReaderSource &source, const QmxEnvironment &environment);

    int count() const;
    /// What an entry is called, and which of the play list's it is.
    QString name(int index) const;
    int listIndex(int index) const { return _source.listIndex.value(index, -1); }
    /// One more clip behind the last, which has become `length` frames long.
    void append(const QString &path, int length);
    /// Files of all that have been appended.
    QStringList appended() const;
    /// The place of a frame of the stream; index -1 outside a list. Whatever lies behind the last entry's
    /// beginning is taken to be in it.
    Place place(int frame) const;
    /// Which frames of its file an entry is: known once it has been opened.
    QmxClipPart::Range range(int index) const;

    /// Opens an entry unless it is open, waits while another thread does so. Null with an error when it
    /// cannot be opened; that stays so as long as the stream is open.
    std::shared_ptr<QmxClipReader> open(int index, QmxError &error);
    /// After a refresh of its clip: what is known now.
    void update(int index, const QmxClipInfo &info);
    /// The descriptions of every frame of an entry, from the first answer on: its own, or those of the
    /// nearest entry that has some.
    Description description(int index);
    /// What is known of an entry; nothing before it has been opened. Never waits for a file.
    std::optional<QmxClipInfo> info(int index) const;
    /// Closes all files.
    void closeAll();

private:
    enum class Stage { Closed, Opening, Open, Failed };
    struct Entry
    {
        Stage stage = Stage::Closed;
        std::shared_ptr<QmxClipReader> reader;
        std::optional<QmxClipInfo> info;
        std::optional<Description> description;
        QmxClipPart::Range range;
        QmxError error;
        quint64 lastUse = 0;
    };

    std::shared_ptr<QmxClipReader> openFile(const StreamReaderSource::Entry &what, QmxClipPart::Range &range,
                                            QmxError &error) const;
    void waitUntilOpened(const Entry &entry, std::unique_lock<std::mutex> &lock);
    std::shared_ptr<QmxClipReader> takeOldest();

    const QmxEnvironment _environment;
    const qsizetype _given;    ///< entries of the source
    mutable std::mutex _mutex; ///< guards all below
    StreamReaderSource _source;
    std::list<QmxInterrupt *> _waiting; ///< threads that wait for an entry which another one opens
    std::deque<Entry> _entries;         ///< an entry stays where it is when one more comes
    quint64 _uses = 0;
    int _open = 0;
};
