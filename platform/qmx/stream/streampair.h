// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/stream/streamask.h"
#include "platform/qmx/stream/streamtally.h"
#include "platform/qmx/stream/streamwriter.h"

#include <QTimer>

#include <atomic>
#include <memory>
#include <vector>

/// One open of a record stream, until its file is closed: one writer, or two for a take that is written to a
/// second medium too, and the flush that each half second asks for.
/// Frames are shared, so the second copy costs its writes and nothing else.
///
/// A stream is open as soon as one copy is, and its medium has failed when the last one has. Each copy has a
/// queue of its own: one whose medium does not keep up is let go of when the queue is full and the other
/// one's is at most half so. It is then a clip that ends early, and lost() says so, once. While both are
/// full, frames wait, as for one medium.
///
/// The second copy moves: when its medium is nearly full and mirror_media_path says another one meanwhile, it
/// goes on there in a further clip (continuedCopyName()), from the frame on that is next when that clip is
/// open.
///
/// Event loop only; never waits for a file. The events come as posted ones. Let go of, it closes its writers.
class StreamPair
{
public:
    /// The stream, to which `pair` may be one that it has let go of.
    class Receiver
    {
    public:
        virtual ~Receiver() = default;
        virtual void writerOpened(StreamPair *pair, const QmxError &error) = 0;
        /// The clip is closed. A second copy may still be written behind it: isBusy() is true then, and this
        /// is told again when nothing is any more.
        virtual void writerClosed(StreamPair *pair, const QmxError &error) = 0;
        /// As StreamWriter has it.
        virtual void writerFailed(StreamPair *pair, const QmxError &error, bool fatal) = 0;
        /// The second copy goes on in the clip at `to`, from this frame of the take's clip on; `joins`: with
        /// which the part before it ends.
        virtual void writerMovedCopy(const QString &to, qint64 frame, bool joins) = 0;
        /// It cannot, and stays where it is as long as there is room.
        virtual void writerCouldNotMoveCopy(const QmxError &why) = 0;
        /// One copy ends early, and the take goes on in the other one at `left`.
        virtual void writerLostCopy(const QmxError &why, const QString &left) = 0;
        virtual void writerRoom(StreamPair *pair) = 0;
        /// Percent free of the first copy's medium, after each flush, if anybody names the clip that follows.
        virtual void writerLevel(StreamPair *pair, int percentFree) = 0;
        virtual void writerWrote(QmxClock::Duration took) = 0; ///< while it is measured
    };

    /// `measured` is looked at for every frame written.
    StreamPair(const StreamAsk &ask, Receiver *receiver, QObject *listener,
               const std::shared_ptr<const std::atomic<bool>> &measured, const QmxEnvironment &environment);

    const StreamAsk &ask() const { return _ask; }
    void open();
    /// Makes the file before anybody has asked for the clip.
    void openAhead();
    /// Somebody asks now for what was opened ahead.
    void begin(const StreamAsk &ask);
    bool isFileOpen() const { return _fileOpen; }
    /// There will be no file, and no answer to a close.
    bool isDead() const { return _dead; }
    void setDead() { _dead = true; }
    void leaveFigures();
    bool hasRoom();
    void append(const QmxFrame &frame);
    void flush();
    void close();
    /// The threads hang: leaves them behind.
    void abandon();
    int pending() const;
    /// As StreamWriter has it, of any copy.
    bool hasBacklog() const;
    /// Some copy is still being written or closed.
    bool isBusy() const;

private:
    enum class State {
        Ahead, ///< being opened, takes no frames yet
        Opening,
        Open,
        Moved,  ///< whole as far as it goes; what follows is in the next file
        Ending, ///< failed or let go of: closes with what it has
        Gone    ///< closed, never opened, or left behind
    };
    struct Copy
    {
        QString path;
        StreamActor::Owned<StreamWriter> writer;
        State state = State::Opening;
        bool whole = false; ///< closed with every frame
        bool takes() const { return state == State::Opening || state == State::Open; }
    };

    void makeWriter(int number);
    void secondLevel(int number, int percentFree);
    void moveTo(int number);
    void couldNotMove(int number, const QmxError &why);
    void tellOpened(const QmxError &error);
    void copyOpened(int number, const QmxError &error);
    void copyClosed(int number, const QmxError &error);
    void copyFailed(int number, const QmxError &error, bool fatal);
    void letGo(int number, const QmxError &why);
    void awaitRest();
    void leaveBehind();
    void lookWhetherClosed();
    int taking() const;
    const Copy *other(int number) const;
    /// The file that the second copy is in now, or was in last.
    Copy &second() { return _copies[size_t(_second)]; }

    StreamAsk _ask;
    Receiver *const _receiver;
    QObject *const _listener;
    const std::shared_ptr<const std::atomic<bool>> _measured;
    const QmxEnvironment _environment;
    const std::shared_ptr<StreamTally> _tally;
    std::vector<Copy> _copies; ///< the first one, and the files of the second one in their order
    int _second = 1;           ///< its number in them
    QString _mirrorFolder;     ///< to which the second copy has moved, or cannot
    qint64 _appended = 0;      ///< frames
    QmxError _refusal;         ///< of the first copy that could not be opened
    bool _fileOpen = false;
    bool _dead = false;
    bool _openTold = false;
    bool _closeAsked = false;
    bool _closeTold = false;
    QmxError _closeError;
    int _restBefore = 0; ///< frames that were still to be written when the patience began
    QTimer _flush;
    QTimer _patience; ///< with what is still being closed
    QTimer _again;    ///< asks once more whether there is room
};
