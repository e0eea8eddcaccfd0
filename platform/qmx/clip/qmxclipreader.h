// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/clip/qmxclipinfo.h"
#include "platform/qmx/core/qmxenvironment.h"
#include "platform/qmx/core/qmxerror.h"
#include "platform/qmx/core/qmxframe.h"

#include <memory>

/// Reads one clip: our own, closed or still growing or left behind by a crash, and foreign files. It trusts
/// nothing that stands in a file: every size, offset, count and depth is checked.
///
/// Threads: it has none. All calls may block on the medium; one thread at a time. info() is a value that may
/// be handed to any thread.
class QmxClipReader
{
public:
    explicit QmxClipReader(const QmxEnvironment &environment = QmxEnvironment::current());
    ~QmxClipReader();
    QmxClipReader(const QmxClipReader &) = delete;
    QmxClipReader &operator=(const QmxClipReader &) = delete;

    /// Opens and indexes the file. Errors: errno of the medium; EILSEQ when it is no clip or too damaged;
    /// ENODATA when it holds no frame (a clip that has just begun gets its first ones with the first flush);
    /// ENOTSUP when nothing can decode it.
    QmxError open(const QString &path);
    void close();
    bool isOpen() const;
    QString path() const;

    /// Descriptions, length, timecodes. Frame numbers and descriptions stay when a growing clip is refreshed
    /// or closed.
    QmxClipInfo info() const;

    /// Looks for frames that have been added to a clip that is not closed; cheap when there are none. Costs
    /// nothing for a closed clip.
    QmxError refresh();

    /// One frame: the image in its coded form, the sound of exactly that frame (silence where the file has
    /// none, for a clip with sound), key 12 with its timecode. Error: EINVAL outside the clip, EILSEQ for
    /// damaged content, ENOMEM for an exhausted pool, else errno of the medium; `frame` is then unchanged.
    QmxError readFrame(qint64 frame, QmxFrame &out);

    /// Descriptions and length without frame tables: for lists of clips. Foreign files that only the
    /// general demultiplexer understands may take longer. Same errors as open().
    static QmxError probe(const QString &path, QmxClipInfo &info,
                          const QmxEnvironment &environment = QmxEnvironment::current());

    /// Somebody holds the lock that a clip's writer keeps until it is done. Only to be asked of clips that
    /// are not closed and hold frames: their writer has had its lock for long, so that the question cannot
    /// get in its way.
    static bool isBeingRecorded(const QString &path,
                                const QmxEnvironment &environment = QmxEnvironment::current());

    /// Closes, in place, a clip that a crash left unfinished. `repaired` tells whether anything was to do.
    /// EWOULDBLOCK while somebody records it (it is then untouched).
    static QmxError repair(const QString &path, bool &repaired,
                           const QmxEnvironment &environment = QmxEnvironment::current());

private:
    struct Private;
    std::unique_ptr<Private> d;
};
