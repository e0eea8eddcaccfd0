// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/stream/qmxstreampost.h"
#include "platform/qmx/stream/streamtally.h"
#include "platform/qmx/stream/streamwriter.h"

#include <QTimer>

#include <functional>
#include <memory>
#include <vector>

/// The writing end of a record stream: one writer, or two for a take that is written to a second medium too.
/// Frames are shared, so the second copy costs its writes and nothing else.
///
/// A stream is open as soon as one copy is, and its medium has failed when the last one has. Each copy has a
/// queue of its own: one whose medium does not keep up is let go of when the queue is full and the other
/// one's is at most half so. It is then a clip that ends early, and lost() says so, once. While both are
/// full, frames wait, as for one medium.
///
/// Event loop only; never waits for a file. The events come as posted ones.
class StreamPair
{
public:
    /// What there is to be told; StreamWriter::Events has their meaning.
    struct Events
    {
        std::function<void(const QmxError &)> opened;
        /// The clip is closed. A second copy may still be written behind it.
        std::function<void(const QmxError &)> closed;
        std::function<void()> done; ///< after closed(): no copy is busy any more
        std::function<void(const QmxError &, bool fatal)> failed;
        std::function<void()> room;
        std::function<void(qint64 microseconds)> wrote; ///< on the writer's thread
        std::function<void(int percentFree)> level;     ///< of the first copy's medium; may be empty
        /// One copy ends early, and the take goes on in the other one at `left`.
        std::function<void(const QmxError &why, const QString &left)> lost;
    };

    /// `paths`: one or two, the clip of the stream first.
    StreamPair(const QStringList &paths, const QmxClipInfo &info, const Events &events,
               const QmxStreamPost &post, const QmxEnvironment &environment);

    void open();
    void openAhead();
    void begin(const QmxClipInfo &info);
    void leaveFigures();
    bool hasRoom();
    void append(const QmxFrame &frame);
    void flush();
    void close();
    void abandon();
    int pending() const;
    /// As StreamWriter has it, of any copy.
    bool hasBacklog() const;
    /// Some copy is still being written or closed.
    bool isBusy() const;

private:
    enum class State {
        Opening,
        Open,
        Ending, ///< failed or let go of: closes with what it has
        Gone    ///< closed, never opened, or left behind
    };
    struct Copy
    {
        QString path;
        std::unique_ptr<StreamWriter> writer;
        State state = State::Opening;
        bool whole = false; ///< closed with every frame
        bool takes() const { return state == State::Opening || state == State::Open; }
    };

    void makeWriter(int number, const QmxClipInfo &info, const QmxEnvironment &environment);
    void copyOpened(int number, const QmxError &error);
    void copyClosed(int number, const QmxError &error);
    void copyFailed(int number, const QmxError &error, bool fatal);
    void letGo(int number, const QmxError &why);
    void awaitRest();
    void leaveBehind();
    void lookWhetherClosed();
    int taking() const;
    const Copy *other(int number) const;

    const Events _events;
    const QmxStreamPost _post;
    const std::shared_ptr<StreamTally> _tally;
    std::vector<Copy> _copies;
    QmxError _refusal; ///< of the first copy that could not be opened
    bool _openTold = false;
    bool _closeAsked = false;
    bool _closeTold = false;
    QmxError _closeError;
    int _restBefore = 0; ///< frames that were still to be written when the patience began
    QTimer _patience;    ///< with what is still being closed
    QTimer _again;       ///< asks once more whether there is room
};
