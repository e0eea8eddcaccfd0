// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/clip/qmxclipinfo.h"
#include "platform/qmx/clip/qmxclipreader.h"
#include "platform/qmx/core/qmxenvironment.h"
#include "platform/qmx/core/qmxerror.h"
#include "platform/qmx/stream/streamreadersource.h"

#include <list>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

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

    StreamReaderEntries(const StreamReaderSource &source, const QmxEnvironment &environment);

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
        QmxError error;
        quint64 lastUse = 0;
    };

    void waitUntilOpened(const Entry &entry, std::unique_lock<std::mutex> &lock);
    std::shared_ptr<QmxClipReader> takeOldest();

    const StreamReaderSource _source;
    const QmxEnvironment _environment;
    mutable std::mutex _mutex;          ///< guards all below
    std::list<QmxInterrupt *> _waiting; ///< threads that wait for an entry which another one opens
    std::vector<Entry> _entries;
    quint64 _uses = 0;
    int _open = 0;
};
