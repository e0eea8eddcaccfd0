// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxerror.h"
#include "platform/qmx/core/qmxframe.h"
#include "platform/qmx/core/qmxid.h"
#include "platform/qmx/core/qmxtimestamp.h"
#include "platform/qmx/stream/qmxstreaminfo.h"

#include <QObject>
#include <QVariant>

#include <memory>

class QmxStreamPeer;
class StreamPair;
class StreamReader;

/// One stream of frames on a medium: a clip that is written, or a clip or play list that is read.
///
/// Threads: all members belong to the event loop and never wait for a file; StreamPair and StreamReader
/// have the threads that do. Signals come from the stream's own posted events, never from inside a call, in
/// the order in which things happened; isOpening() and isClosing() change in the event that emits the
/// matching signal, immediately before it. From inside a slot every call is allowed.
///
/// Exactly one of isOpen(), isOpening(), isClosing(), isClosed() is true. Every open() that returned true is
/// answered once, every close() of an open or opening stream too, within ten seconds: what hangs in the
/// kernel is left behind with an error. Only an open() over an open or opening stream abandons what that
/// one did, its reads included, without any signal; what it had to write is still written.
class QmxStream : public QObject
{
    Q_OBJECT

public:
    enum Mode { Read = 1, Write = 2 };

    explicit QmxStream(QObject *parent = nullptr);
    /// Writes and closes what is open; a medium that does not answer is waited for at most three seconds.
    ~QmxStream() override;

    /// The type follows from the descriptor (the default).
    void setAutoType();
    /// 100: QuickTime movie.
    void setType(const QmxId &type);
    /// What to open: a path (QString), or for reading a QmxPlayList. Kept after the close.
    void setDesc(const QVariant &desc);
    QVariant desc() const;
    /// The stream's descriptor is this one, by content; false for an invalid one.
    bool hasDesc(const QVariant &desc) const;
    /// What a clip that is to be written shall be.
    void setInfo(const QmxStreamInfo &info);
    /// Of the open stream (its length grows with a clip that is being recorded); what was set for writing;
    /// after a failed open the default.
    QmxStreamInfo info() const;

    /// Opens the descriptor as it is now. False, and nothing happens, when it is not usable. On a stream that
    /// is closing it takes effect after closeIsDone.
    bool open(int mode);
    void close();
    bool isOpen() const;
    bool isOpening() const;
    bool isClosing() const;
    bool isClosed() const;
    /// The mode asked for, from open() until close() is called or the open fails.
    bool isReadable() const;
    bool isWritable() const;

    /// Reads one frame; the answer is readIsDone. Returns a number above 0 for the request; 0, and no answer,
    /// when the stream is not open for reading or 64 requests wait. A frame that cannot be read comes black
    /// and silent, with the error.
    int read(int frame, void *user);
    /// Makes what has been written durable soon; happens each half second by itself.
    void flush();
    /// Frames on the way to or from the medium.
    int pending() const;
    /// Measures each read and write.
    void setBenchmarkEnable(bool on);

signals:
    /// `request` counts the opens.
    void openIsDone(int request, const QmxError &error);
    void closeIsDone();
    void readIsDone(int frame, const QmxFrame &data, const QmxError &error, void *user);
    /// One read or write took `microseconds`; `time` is its end.
    void benchmark(int microseconds, const QmxTimeStamp &time);

private:
    friend class QmxStreamCache;
    friend class StreamReadAhead;
    /// For the cache in front: one at a time.
    void setPeer(QmxStreamPeer *peer);
    StreamReader *reader() const;
    StreamPair *writer() const;
    QString path() const;

    struct Private;
    std::unique_ptr<Private> d;
};
