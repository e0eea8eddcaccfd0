// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/clip/qmxclipinfo.h"
#include "platform/qmx/core/qmxenvironment.h"
#include "platform/qmx/core/qmxoperations.h"
#include "platform/qmx/stream/qmxstreampost.h"
#include "platform/qmx/stream/streampair.h"
#include "platform/qmx/stream/streamreader.h"

#include <QTimer>

#include <atomic>
#include <memory>

/// What one open() of a stream asked for.
struct QmxStreamAsk
{
    int number = 0; ///< counts the opens
    bool writes = false;
    StreamReaderSource source;
    QmxClipInfo clip;       ///< writing: what it shall be
    QString mirrorFolder;   ///< writing: where the clip is written as well; empty: nowhere
    bool cancelled = false; ///< close() has been called before it was open

    QString path() const { return source.entries.isEmpty() ? QString() : source.entries.constFirst().path; }
    /// Of all copies that are to be written, the stream's own first.
    QStringList paths() const;
    /// For the operator: the path, or how many clips the list has.
    QString what() const;
};

/// One open of a stream, from its begin until the file is closed: the reader or the writer behind it, and
/// the posted events by which their threads come back to the event loop. Event loop only.
class QmxStreamSession
{
public:
    /// The stream. All calls out of posted events; `session` may be one that the stream has let go.
    class Receiver
    {
    public:
        virtual ~Receiver() = default;
        virtual void sessionOpened(QmxStreamSession *session, const QmxError &error,
                                   const QmxStreamInfo &info) = 0;
        /// Writing, isBusy() may still be true then; it is told again when nothing is any more.
        virtual void sessionClosed(QmxStreamSession *session) = 0;
        /// Writing to two media: one copy ends early, the take goes on at `left`.
        virtual void sessionLostCopy(const QmxError &why, const QString &left) = 0;
        virtual void sessionResults(QmxStreamSession *session) = 0;
        /// `ended`: why it ends although nobody has finished it.
        virtual void sessionGrown(QmxStreamSession *session, const QString &ended) = 0;
        virtual void sessionRoom(QmxStreamSession *session) = 0;
        virtual void sessionFailed(QmxStreamSession *session, const QmxError &error, bool fatal) = 0;
        /// Percent free of the medium that is written on, after each flush.
        virtual void sessionLevel(QmxStreamSession *session, int percentFree) = 0;
        virtual void sessionWrote(qint64 microseconds) = 0;
        /// A read has been waiting for the medium for a long time; `stalled` false: it has come back.
        virtual void sessionStalled(QmxStreamSession *session, bool stalled) = 0;
    };

    /// `home` is the object whose posted events are used; `benchmark` is looked at for every frame written.
    QmxStreamSession(const QmxStreamAsk &ask, QObject *home, Receiver *receiver,
                     std::shared_ptr<std::atomic<bool>> benchmark, const QmxEnvironment &environment);
    /// Nothing is told any more. A writer that is open is closed before; one that hangs is left behind.
    ~QmxStreamSession();
    QmxStreamSession(const QmxStreamSession &) = delete;
    QmxStreamSession &operator=(const QmxStreamSession &) = delete;

    const QmxStreamAsk &ask() const { return _ask; }
    bool isCancelled() const { return _ask.cancelled; }
    void setCancelled() { _ask.cancelled = true; }
    StreamReader *reader() const { return _reader.get(); }
    StreamPair *writer() const { return _writer.get(); }
    /// Something is still written, whether or not the clip counts as closed.
    bool isBusy() const { return _writer && _writer->isBusy(); }

    void open();
    /// Writing: makes the file before anybody has asked for the clip.
    void openAhead() { _writer->openAhead(); }
    /// Somebody asks now for what was opened ahead.
    void begin(const QmxStreamAsk &ask);
    bool isFileOpen() const { return _fileOpen; }
    /// Writing: there will be no file, and no answer to a close.
    bool isDead() const { return _dead; }
    void setDead() { _dead = true; }
    void close();
    /// The thread hangs: leaves it behind.
    void abandon();

private:
    void makeWriter(const QmxEnvironment &environment, const std::shared_ptr<std::atomic<bool>> &benchmark);
    void makeReader(const QmxEnvironment &environment);
    void watchReader();

    QmxStreamAsk _ask;
    QmxStreamPost _post;
    Receiver *_receiver;
    const std::shared_ptr<QmxClock> _clock;
    bool _fileOpen = false;
    bool _dead = false;
    QTimer _watch; ///< looks whether a read hangs
    bool _stalled = false;
    QTimer _timer; ///< flushes what is written, looks whether what is read has grown
    std::unique_ptr<StreamReader> _reader;
    std::unique_ptr<StreamPair> _writer;
};
