// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/clip/continuedcopy.h"
#include "platform/qmx/core/qmxcounters.h"
#include "platform/qmx/core/qmxenvironment.h"
#include "platform/qmx/core/qmxerror.h"
#include "platform/qmx/core/qmxrecordtable.h"

#include <array>
#include <condition_variable>
#include <map>
#include <mutex>

/// What the copies of one record stream, one or two, say together in the figures of the recorder: a frame is
/// safe when one copy has it, and lost when none has; a queue is as full as the fuller one. The second copy
/// may go on in further files, each with a number of its own. Any thread, and none waits but in claim().
class StreamTally
{
public:
    static constexpr int mostFiles = 1 + mostCopyParts; ///< of both copies

    StreamTally(const QmxEnvironment &environment, int copies);

    /// What the take began with, for each copy.
    QmxRecordTable::Backlog backlog(int copy) const
    {
        return copy < 2 ? _backlog : QmxRecordTable::Backlog();
    }
    /// A further file of the second copy is to be opened: its number, from 2; 0: there have been enough.
    int addFile();
    /// The second copy goes on in this file, whose first frame is this one of the take's clip.
    void begins(int copy, qint64 frame);

    /// The published figures are those of this stream, or no longer.
    void show(bool on);
    void setDurable(int copy, qint64 frames);
    void set(int copy, QmxCounters::Row row, qint64 value);
    void setSlow(int copy, bool slow, const QString &path);
    /// This copy takes no more frames; what it has stays counted.
    void leave(int copy);
    /// Frames that a copy does not have: lost when no other one takes them. Whether they are.
    bool lose(int copy, qint64 frames);
    /// This frame is refused by every copy alike, and counts once.
    void refuse(int copy);
    /// Whether this copy speaks for the stream: the first one that has not left.
    bool speaks(int copy) const;

    /// A copy is about to be made there. Refused outside media and, for two copies, on the medium of the
    /// other one: they would be lost together. The second copy waits for what the first one says, but not for
    /// a medium that does not answer.
    QmxError claim(int copy, const QString &path);

private:
    struct Copy
    {
        bool left = false;
        qint64 first = -1; ///< frame of the clip with which the file begins; -1: it does not yet
        bool slow = false;
        qint64 durable = 0;
        std::map<QmxCounters::Row, qint64> figures;
        bool claimed = false;
        fsid_t fileSystem = {};
        dev_t device = 0;
    };

    void publish();
    void publish(QmxCounters::Row row);
    bool firstTakes() const { return !_copies.front().left; }
    bool secondTakes() const;
    int present() const { return int(firstTakes()) + int(secondTakes()); }
    bool isAlone(int copy) const { return copy == 0 ? !secondTakes() : !firstTakes(); }
    qint64 secondDurable() const;
    QmxError claimMedium(int copy, const QString &folder, const struct statfs64 &medium);
    bool sameMedium(int one, int other) const;

    const QmxEnvironment _environment;
    int _count; ///< of files; with the mutex
    const QmxRecordTable::Backlog _backlog;
    mutable std::mutex _mutex;
    std::condition_variable _claims;
    bool _shown = false;
    std::array<Copy, mostFiles> _copies;
};
