// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxtaskthread.h"
#include "platform/qmx/stream/streamreader.h"
#include "platform/qmx/stream/streamreaderentries.h"
#include "platform/qmx/stream/streamreadergrowth.h"

#include <atomic>
#include <deque>
#include <limits>
#include <mutex>

/// What a reader's threads share, and what the reader thread does with it.
struct StreamReader::State : std::enable_shared_from_this<StreamReader::State>
{
    struct Request
    {
        int frame = 0;
        int number = 0;
        void *user = nullptr;
    };
    enum class Step { Open, Refresh, Read, Close, Idle };

    State(const StreamReaderSource &what, const Events &receiver, const QmxEnvironment &where)
        : source(what),
          events(receiver),
          environment(where),
          entries(what, where),
          growth(what, entries, where)
    {}

    void run();
    Step nextStep(Request &request);
    void openSource();
    void apply(const StreamReaderGrowth::Now &now);
    void readFrame(const Request &request);
    QmxError readPlace(const StreamReaderEntries::Place &place, QmxFrame &frame);
    void fitDescription(int index, qint64 local, QmxFrame &frame);
    void openNeighbours(int index);
    void cancelRequests();
    void deliver(Result result);
    void setLength(qint64 frames) { length = int(qMin<qint64>(frames, std::numeric_limits<int>::max())); }
    QmxMetadataHash meta(int frame) const;

    const StreamReaderSource source;
    const Events events;
    const QmxEnvironment environment;
    StreamReaderEntries entries;
    StreamReaderGrowth growth; ///< reader thread
    std::atomic<int> length = 0;
    std::atomic<bool> growing = false;
    std::weak_ptr<QmxTaskThread> opener;

    mutable std::mutex mutex; ///< guards what follows
    std::deque<Request> requests;
    QList<int> wishes;
    int reading = -1; ///< the wish being read
    qint64 busySince = 0;
    QList<Result> results;
    bool openAsked = false;
    bool refreshAsked = false;
    bool closeAsked = false;
    bool scheduled = false;
    bool done = false;

    int neighboursOf = -1; ///< reader thread: the entry whose neighbours have been asked for last
};
