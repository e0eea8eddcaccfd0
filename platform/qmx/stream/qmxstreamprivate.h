// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxdeck.h"
#include "platform/qmx/core/qmxenvironment.h"
#include "platform/qmx/stream/qmxstream.h"
#include "platform/qmx/stream/qmxstreampeer.h"
#include "platform/qmx/stream/qmxstreamsession.h"

#include <list>
#include <optional>

/// The states of a stream and what leads from one to the next. Sessions do the work; this decides which of
/// them counts, what is told, and in which order. Event loop only.
struct QmxStream::Private : QmxStreamSession::Receiver
{
    enum class State { Closed, Opening, Open, Closing };

    explicit Private(QmxStream *stream);

    /// The file of the next clip is made when the medium has so much left, in percent. A percent above the
    /// level from which the recorder may go on on the next medium at any moment.
    static constexpr int aheadLevel = 12;
    /// A record stream that is closed with so little left is followed by the next one: the recorder goes on
    /// at 10 %, and measures at moments of its own.
    static constexpr int joinLevel = 11;

    // What the calls ask for.
    void begin(const QmxStreamAsk &ask);
    void abandonCurrent();
    void dropNext();
    void cancelOpening();
    void beginClosing();
    void end();
    void askClose();
    // One clip of a take that follows another (qmxstreamjoin.cpp).
    bool continuesTake(const QmxStreamAsk &ask) const;
    bool isAtJoin() const;
    void beginJoined(const QmxStreamAsk &ask);
    void openedLate(const QmxError &error);
    void letGo();
    void openAhead(const QString &path);
    void dropAhead();
    // How it comes out. What emits may find the stream destroyed or doing something else afterwards.
    void openDone(QmxStreamAsk ask, QmxError error, const QmxStreamInfo &told);
    void closeDone();
    void deadlineReached();
    void tellOpenFailed(const QmxStreamAsk &ask, const QmxError &error);

    void sessionOpened(QmxStreamSession *session, const QmxError &error, const QmxStreamInfo &told) override;
    void sessionClosed(QmxStreamSession *session) override;
    void sessionLostCopy(const QmxError &why, const QString &left) override;
    void sessionResults(QmxStreamSession *session) override;
    void sessionGrown(QmxStreamSession *session, const QString &ended) override;
    void sessionRoom(QmxStreamSession *session) override;
    void sessionFailed(QmxStreamSession *session, const QmxError &error, bool fatal) override;
    void sessionLevel(QmxStreamSession *session, int percentFree) override;
    void sessionWrote(qint64 microseconds) override;
    void sessionStalled(QmxStreamSession *session, bool stalled) override;
    void forget(QmxStreamSession *session);
    void letGoOfClosed();
    void setToken(const QString &doing) { token = environment.deck->operations.begin(doing); }

    QmxStream *const q;
    const QmxEnvironment environment = QmxEnvironment::current();
    QmxStreamPost post;
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
    std::unique_ptr<QmxStreamSession> current;
    std::optional<QmxStreamAsk> next; ///< waits until the close under way is done
    /// Record streams that were abandoned: they still write what they have, and close.
    std::list<std::unique_ptr<QmxStreamSession>> leaving;
    /// The clip that will follow the current one, opened before it is needed.
    std::unique_ptr<QmxStreamSession> ahead;
    QString refused; ///< could not be opened ahead: not tried again
    bool nextKnown = false;
    int percentFree = 100;      ///< of the medium that is recorded on
    bool openedEarly = false;   ///< told as open, whether or not the file is
    quint64 takeOfClosed = 0;   ///< in which a record stream was closed last
    QTimer aheadTime;           ///< until what nobody asks for goes
    QmxOperations::Token token; ///< of the open or close in progress
    QTimer deadline;
    int pendingAtClose = 0; ///< frames not yet written when the close began, or was looked at last
};
