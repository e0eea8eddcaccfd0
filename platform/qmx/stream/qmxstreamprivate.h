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

    // What the calls ask for.
    void begin(const QmxStreamAsk &ask);
    void abandonCurrent();
    void dropNext();
    void cancelOpening();
    void beginClosing();
    void end();
    void askClose();
    // How it comes out. What emits may find the stream destroyed or doing something else afterwards.
    void openDone(QmxStreamAsk ask, QmxError error, const QmxStreamInfo &told);
    void closeDone();
    void deadlineReached();
    void tellOpenFailed(const QmxStreamAsk &ask, const QmxError &error);

    void sessionOpened(QmxStreamSession *session, const QmxError &error, const QmxStreamInfo &told) override;
    void sessionClosed(QmxStreamSession *session) override;
    void sessionResults(QmxStreamSession *session) override;
    void sessionGrown(QmxStreamSession *session) override;
    void sessionRoom(QmxStreamSession *session) override;
    void sessionFailed(QmxStreamSession *session, const QmxError &error, bool fatal) override;
    void sessionWrote(qint64 microseconds) override;
    void sessionStalled(QmxStreamSession *session, bool stalled) override;
    void forget(QmxStreamSession *session);
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
    QmxOperations::Token token; ///< of the open or close in progress
    QTimer deadline;
};
