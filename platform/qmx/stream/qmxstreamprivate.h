// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxalarm.h"
#include "platform/qmx/core/qmxdeck.h"
#include "platform/qmx/core/qmxenvironment.h"
#include "platform/qmx/stream/qmxstream.h"
#include "platform/qmx/stream/qmxstreampeer.h"
#include "platform/qmx/stream/streamask.h"
#include "platform/qmx/stream/streampair.h"
#include "platform/qmx/stream/streamreader.h"

#include <QTimer>

#include <atomic>
#include <chrono>
#include <list>
#include <memory>
#include <optional>

/// The states of a stream and what leads from one to the next: which of what is open counts, what is told,
/// and in which order. Event loop only.
struct QmxStream::Private : StreamPair::Receiver
{
    enum class State { Closed, Opening, Open, Closing };

    explicit Private(QmxStream *stream);

    static constexpr const char *logSource = "stream";
    /// An open or close that takes longer hangs in the kernel; ten seconds are promised.
    static constexpr std::chrono::milliseconds operationLimit{9500};
    /// The file of the next clip is made when the medium has so much left, in percent. A percent above the
    /// level from which the recorder may go on on the next medium at any moment.
    static constexpr int aheadLevel = 12;
    /// A record stream that is closed with so little left is followed by the next one: the recorder goes on
    /// at 10 %, and measures at moments of its own.
    static constexpr int joinLevel = 11;

    // Opening (qmxstream.cpp). What emits may find the stream destroyed or doing something else afterwards.
    void begin(const StreamAsk &of);
    std::unique_ptr<StreamPair> makeWriter(const StreamAsk &of);
    void makeReader();
    void writerOpened(StreamPair *of, const QmxError &error) override;
    void readerOpened(const QmxError &error, const QmxStreamInfo &told);
    void openDone(StreamAsk of, QmxError error, const QmxStreamInfo &told);
    void tellOpenFailed(const StreamAsk &of, const QmxError &error);
    // Closing (qmxstreamclosing.cpp).
    void abandonCurrent();
    void dropNext();
    void askClose();
    void cancelOpening();
    void beginClosing();
    void end();
    void closeDone();
    void deadlineReached();
    void letGoOfClosed();
    void forget(StreamPair *closed);
    // One clip of a take that follows another (qmxstreamjoin.cpp).
    bool continuesTake(const StreamAsk &of) const;
    bool isAtJoin() const;
    void beginJoined();
    void openedLate(const QmxError &error);
    void letGo();
    void openAhead(const QString &path);
    void dropAhead();
    // What a writer tells; it may be one that the stream has let go (qmxstreamwriting.cpp).
    void writerClosed(StreamPair *of, const QmxError &error) override;
    void writerFailed(StreamPair *of, const QmxError &error, bool fatal) override;
    void writerMovedCopy(const QString &to, qint64 frame, bool joins) override;
    void writerCouldNotMoveCopy(const QmxError &why) override;
    void writerLostCopy(const QmxError &why, const QString &left) override;
    void writerRoom(StreamPair *of) override;
    void writerLevel(StreamPair *of, int percentFree) override;
    void writerWrote(QmxClock::Duration took) override;
    // What the reader tells (qmxstreamreading.cpp).
    void readerResults();
    void readerGrown(const QString &ended);
    void watchReader();

    bool hasCurrent() const { return reader || writer; }
    void closeCurrent();
    void letCurrentGo();
    void post(std::function<void()> later);
    void postAlarm(QmxId id, QmxAlarm::AlarmLevel level, const QString &text) const;
    void setToken(const QString &doing) { token = environment.deck->operations.begin(doing); }

    QmxStream *const q;
    const QmxEnvironment environment = QmxEnvironment::current();
    QmxStreamPeer *peer = nullptr;

    QVariant desc;
    QmxId type;
    QmxStreamInfo info;
    int mode = 0;            ///< asked for; 0 once close() has been called
    bool closeAsked = false; ///< from close() until closeIsDone
    int opens = 0;
    int reads = 0;
    std::shared_ptr<std::atomic<bool>> benchmarkOn = std::make_shared<std::atomic<bool>>(false);

    State state = State::Closed;
    StreamAsk ask; ///< of the current open, whose end is one of the two
    StreamActor::Owned<StreamReader> reader;
    QString followedOf;   ///< clip whose take was followed when it was read last
    QStringList followed; ///< into these files
    /// Clip that ended because its recorder had gone: that stays up while it is the one that is opened, as it
    /// is again when the medium is listed anew.
    QString brokenOff;
    std::unique_ptr<StreamPair> writer;
    std::optional<StreamAsk> next; ///< waits until the close under way is done
    /// Record streams that were abandoned: they still write what they have, and close.
    std::list<std::unique_ptr<StreamPair>> leaving;
    /// The clip that will follow the current one, opened before it is needed.
    std::unique_ptr<StreamPair> ahead;
    QString refused; ///< could not be opened ahead: not tried again
    bool nextKnown = false;
    int percentFree = 100;      ///< of the medium that is recorded on
    bool openedEarly = false;   ///< told as open, whether or not the file is
    quint64 takeOfClosed = 0;   ///< in which a record stream was closed last
    QTimer aheadTime;           ///< until what nobody asks for goes
    QTimer growth;              ///< looks whether what is read has grown
    QTimer watch;               ///< looks whether a read hangs
    bool stalled = false;       ///< it does
    QmxOperations::Token token; ///< of the open or close in progress
    QTimer deadline;
    int pendingAtClose = 0; ///< frames not yet written when the close began, or was looked at last
};
