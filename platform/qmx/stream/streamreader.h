// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxclock.h"
#include "platform/qmx/core/qmxerror.h"
#include "platform/qmx/core/qmxframe.h"
#include "platform/qmx/stream/qmxstreaminfo.h"
#include "platform/qmx/stream/streamactor.h"
#include "platform/qmx/stream/streamaxis.h"
#include "platform/qmx/stream/streamreaderentries.h"
#include "platform/qmx/stream/streamreadergrowth.h"
#include "platform/qmx/stream/streamreaderlist.h"
#include "platform/qmx/stream/streamreadersource.h"

#include <QList>

#include <atomic>
#include <deque>
#include <functional>
#include <memory>

/// The reading end of one read stream: a clip, or the clips of a play list as one.
///
/// Threads: the owner's; the reader thread "qmx-read", which reads frames; for lists the opener thread
/// "qmx-open", which opens the neighbours of the entry that is being read, so that the next one is open
/// before it is needed.
///
/// Frames are asked for in two ways: read() answers each request once, in order (policy: 64 may wait, more
/// are refused); want() says which frames a cache lacks now and replaces the wish before, so that nothing is
/// read for a position that has been left. A frame that cannot be read comes as a black and silent one with
/// the descriptions of its entry, together with the error.
///
/// A reader that is in the middle of something is left behind when it is let go of.
class StreamReader final : public StreamActor
{
public:
    struct Result
    {
        int frame = 0;
        QmxFrame data; ///< with its keys 1, 9, 10, 12, 18
        QmxError error;
        QmxClock::Duration took{}; ///< to read it
        int request = 0;           ///< number given to read(); 0: wished for
        void *user = nullptr;
    };

    struct Events
    {
        std::function<void(const QmxError &, const QmxStreamInfo &)> opened; ///< once
        std::function<void()> closed;                                        ///< once, after close()
        std::function<void()> results;                                       ///< takeResults() has something
        /// axis() has changed: it is longer, or will not grow any more; with a sentence when that is nobody's
        /// doing.
        std::function<void(const QString &ended)> grown;
    };

    StreamReader(const StreamReaderSource &source, const Events &events, QObject *listener,
                 const QmxEnvironment &environment);

    void open();

    /// False: too many wait.
    bool read(int frame, int request, void *user);
    /// In order of urgency; what is being read or waits in the results is not read again.
    void want(const QList<int> &frames);
    QList<Result> takeResults();
    /// Requests and wishes not yet answered.
    int pending() const;
    /// Since when the reader thread has been busy with one call (QmxClock time); 0: it is not.
    qint64 busySince() const;

    /// Frames in the stream now; 0 until it is open.
    int length() const;
    /// Which numbers they have.
    StreamAxis axis() const;
    /// Somebody still records what is read: refresh() looks whether it has grown.
    bool isGrowing() const;
    void refresh();
    /// The files into which a take has been followed.
    QStringList sequels() const { return _entries.appended(); }
    /// Keys 1, 9, 10, 12 and 18 of a frame, as far as its entry has been opened. Never waits for a file.
    QmxMetadataHash meta(int frame) const;
    /// The frame of a clip with this timecode; without one, that which is nearest to it. Never waits.
    int frameAt(const QmxTimecode &timecode) const;

private:
    struct Request
    {
        int frame = 0;
        int number = 0;
        void *user = nullptr;
    };
    enum class Step { Open, Refresh, Read, Close, Idle };

    void end() override;
    // On the reader thread.
    bool step() override;
    Step nextStep(Request &request);
    void openSource();
    StreamAxis axisAtBegin();
    void look();
    void readFrame(const Request &request);
    QmxError readPlace(const StreamReaderEntries::Place &place, QmxFrame &frame);
    void fitDescription(int index, qint64 local, QmxFrame &frame);
    void openNeighbours(int index);
    void openNeighbour(int index);
    void closeAll();
    void deliver(Result result);
    const StreamReaderSource _source;
    const Events _events;
    StreamReaderEntries _entries;
    StreamReaderGrowth _growth; ///< of a clip; reader thread
    StreamReaderList _list;     ///< of a list; reader thread
    int _neighboursOf = -1;     ///< reader thread: the entry whose neighbours have been asked for last
    std::atomic<bool> _growing = false;

    // With the lock.
    StreamAxis _axis;
    std::shared_ptr<QmxTaskThread> _opener; ///< lists only
    std::deque<Request> _requests;
    QList<int> _wishes;
    int _reading = -1; ///< the wish being read
    qint64 _busySince = 0;
    QList<Result> _results;
    bool _refreshAsked = false;
};
