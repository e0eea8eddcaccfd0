// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/clip/qmxclipchapters.h"
#include "platform/qmx/clip/qmxclipinfo.h"
#include "platform/qmx/core/qmxenvironment.h"
#include "platform/qmx/core/qmxerror.h"
#include "platform/qmx/core/qmxframe.h"

#include <QJsonArray>

#include <memory>

/// Writes one clip file. While it grows it is a fragmented QuickTime file that every program plays up to the
/// last flush; close() turns it in place into an ordinary one.
///
/// Threads: it has none. All calls block on the medium and belong to one thread, the writer thread of a
/// stream; only framesDurable() may come from any thread.
///
/// Errors: after one that concerns the medium (failed() is true) nothing more is written: every later
/// writeFrame() and flush() gives the same error, everything up to the last flush stays whole, and close()
/// still makes an ordinary clip of that. The sentence names medium, clip and reason.
class QmxClipWriter
{
public:
    explicit QmxClipWriter(const QmxEnvironment &environment = QmxEnvironment::current());
    /// Closes the file when close() has not been called.
    ~QmxClipWriter();
    QmxClipWriter(const QmxClipWriter &) = delete;
    QmxClipWriter &operator=(const QmxClipWriter &) = delete;

    /// Creates the file exclusively (EEXIST when there is one) and holds an exclusive lock on it until the
    /// close is done. The first frame's timecode, when it is valid, replaces that of `info`.
    QmxError create(const QString &path, const QmxClipInfo &info);

    /// Gives a file that was made under another name, before it has a frame, the name `path` and what the
    /// clip is to be. Never replaces a file: EEXIST. An error is one of the medium.
    QmxError take(const QString &path, const QmxClipInfo &info);

    /// Goes on with a clip of ours that ended early: a closed one grows again from where it ended, one that a
    /// crash left unfinished from its last flush. Nothing that it has is written anew, and whatever happens
    /// meanwhile, it stays readable up to the last flush. EWOULDBLOCK while somebody else writes it; EILSEQ
    /// when it is no such clip or frames are missing in it.
    QmxError resume(const QString &path);

    /// Hands one frame to the medium. Its first image must be of the clip's size and data type (any of the
    /// 4:2:2 ProRes types is accepted in a clip of another of them); an image that is not valid repeats the
    /// picture before it. Sound that is missing becomes silence. A frame that does not fit is refused with
    /// EINVAL, and the clip goes on. Flushes by itself when a fragment can take no more (about 80 frames or
    /// 2 GiB).
    QmxError writeFrame(const QmxFrame &frame);

    /// For a frame that several writers are given at once: the memory behind its picture is filled with zeros
    /// up to a whole block already, so that none of them changes what the others read; and what proves the
    /// picture is found out once for all of them.
    static QmxFrame share(const QmxFrame &frame);

    /// Notes that `count` frames before the next one were lost; kept in the file for whoever examines it.
    void noteLost(int count);

    /// Which frames of what other clips these are, for the record of the take; told before close().
    void setOrigin(const QJsonArray &origin);

    /// Places with names that other programs show; told before close().
    void setChapters(const QList<QmxClipChapter> &chapters);

    /// Makes every frame written so far durable and readable. Only after it has returned without error may
    /// anybody be told that they are recorded. Meant to be called every half second.
    QmxError flush();

    /// Flushes, turns the file into an ordinary one, gives back what was allocated ahead, and unlocks it. A
    /// clip without a single durable frame is removed. On an error the file is what the last flush left.
    QmxError close();

    bool isOpen() const;
    /// A medium error has ended the writing.
    bool failed() const;
    QString path() const;
    qint64 framesWritten() const; ///< accepted by writeFrame()
    qint64 framesDurable() const; ///< made durable by a flush; any thread

private:
    struct Private;
    std::unique_ptr<Private> d;
};
