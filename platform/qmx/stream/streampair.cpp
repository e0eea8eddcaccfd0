// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/stream/streampair.h"

#include "platform/qmx/clip/continuedcopy.h"
#include "platform/qmx/clip/qmxclipwriter.h"
#include "platform/qmx/core/qmxdeck.h"

#include <algorithm>
#include <cerrno>
#include <utility>

namespace {

/// So that a picture is on the medium half a second after it was written, also when no other follows.
constexpr int flushIntervalMs = 400;
/// A copy that is so empty can stand for one that is full.
constexpr double wellAhead = 0.5;
/// The first copy of a stream that is being closed is the clip that everybody asks for next; so long they
/// wait for it when the second one is whole already.
constexpr int firstCopyWaitMs = 3000;
/// What is still being closed then hangs.
constexpr int hangMs = 9000;
constexpr int againMs = 40;
/// Percent free at which the second copy moves to where mirror_media_path says: what has been named while
/// there is more room is meant for the next take.
constexpr int nearlyFull = 11;
/// Those that the next clip of a running take needs: each writer's, and one for each way of asking its
/// medium: how much room there is, which names are free, what is on it.
constexpr int spareThreadsPerCopy = 4;

} // namespace

StreamPair::StreamPair(const StreamAsk &ask, Receiver *receiver, QObject *listener,
                       const std::shared_ptr<const std::atomic<bool>> &measured,
                       const QmxEnvironment &environment)
    : _ask(ask),
      _receiver(receiver),
      _listener(listener),
      _measured(measured),
      _environment(environment),
      _tally(std::make_shared<StreamTally>(environment, int(ask.paths().size()))),
      _copies(size_t(ask.paths().size())),
      _mirrorFolder(ask.mirrorFolder)
{
    environment.threads->keepSpare(spareThreadsPerCopy * int(_copies.size()));
    QObject::connect(&_flush, &QTimer::timeout, &_flush, [this] { flush(); });
    _patience.setSingleShot(true);
    QObject::connect(&_patience, &QTimer::timeout, &_patience, [this] { leaveBehind(); });
    _again.setSingleShot(true);
    QObject::connect(&_again, &QTimer::timeout, &_again, [this] { _receiver->writerRoom(this); });
    const QStringList paths = ask.paths();
    for (int i = 0; i < int(paths.size()); ++i) {
        _copies[size_t(i)].path = paths[i];
        makeWriter(i);
    }
}

void StreamPair::makeWriter(int number)
{
    StreamWriter::Events events;
    events.opened = [this, number](const QmxError &error) { copyOpened(number, error); };
    events.closed = [this, number](const QmxError &error) { copyClosed(number, error); };
    events.failed = [this, number](const QmxError &error, bool fatal) { copyFailed(number, error, fatal); };
    events.room = [this] { _receiver->writerRoom(this); };
    events.wrote = [this](QmxClock::Duration took) { _receiver->writerWrote(took); };
    if (number > 0)
        events.level = [this, number](int percent) { secondLevel(number, percent); };
    else if (_environment.deck->nextClip.isNamed())
        events.level = [this](int percent) { _receiver->writerLevel(this, percent); };
    Copy &copy = _copies[size_t(number)];
    copy.writer = StreamActor::make<StreamWriter>(copy.path, _ask.clip, events, _listener, _environment,
                                                  StreamWriter::Copy{_tally, number, _measured});
}

void StreamPair::tellOpened(const QmxError &error)
{
    _fileOpen = !error.isError();
    if (_fileOpen) _flush.start(flushIntervalMs);
    _receiver->writerOpened(this, error);
}

int StreamPair::taking() const
{
    return int(std::count_if(_copies.begin(), _copies.end(), [](const Copy &copy) { return copy.takes(); }));
}

/// Told with each flush, so that a place which somebody names late is gone to, too.
void StreamPair::secondLevel(int number, int percentFree)
{
    const QString folder = _environment.deck->takeOptions.values().mirrorMediaPath;
    if (percentFree > nearlyFull || _closeAsked || number != _second ||
        _copies.back().state == State::Ahead || folder.isEmpty() || folder == _mirrorFolder)
        return;
    _mirrorFolder = folder;
    const int next = _tally->addFile();
    if (next == 0) return;
    Copy copy;
    copy.path = folder + '/' + continuedCopyName(_ask.path(), next);
    copy.state = State::Ahead;
    _copies.push_back(std::move(copy));
    makeWriter(next);
    if (!_copies.back().writer->openAhead())
        couldNotMove(next,
                     {EAGAIN, QStringLiteral("%1 cannot be recorded: the system has no thread to write it")
                                  .arg(_copies.back().path)});
}

/// From the next frame on.
void StreamPair::moveTo(int number)
{
    Copy &before = second();
    _second = number;
    second().state = State::Open;
    _tally->begins(number, _appended);
    second().writer->begin(_ask.clip);
    const bool joins = before.takes();
    if (joins) {
        before.state = State::Moved;
        before.writer->close();
    }
    _receiver->writerMovedCopy(second().path, _appended, joins);
}

void StreamPair::couldNotMove(int number, const QmxError &why)
{
    _copies[size_t(number)].state = State::Gone;
    _receiver->writerCouldNotMoveCopy(why);
    if (_closeAsked) lookWhetherClosed();
}

/// The other copy, if there is one that takes frames or has them all.
const StreamPair::Copy *StreamPair::other(int number) const
{
    for (size_t i = 0; i < _copies.size(); ++i)
        if (int(i) != number && (_copies[i].takes() || _copies[i].whole)) return &_copies[i];
    return nullptr;
}

void StreamPair::copyOpened(int number, const QmxError &error)
{
    Copy &copy = _copies[size_t(number)];
    if (copy.state == State::Gone) return; // left behind before
    if (copy.state == State::Ahead) {
        if (error.isError())
            couldNotMove(number, error);
        else if (!_closeAsked) // else its file goes again
            moveTo(number);
        return;
    }
    if (!error.isError()) {
        if (copy.state == State::Opening) copy.state = State::Open;
        if (!std::exchange(_openTold, true)) tellOpened({});
        return;
    }
    copy.state = State::Gone;
    if (number == 0 || !_refusal.isError()) _refusal = error;
    if (const Copy *left = other(number)) {
        _receiver->writerLostCopy(error, left->path);
        if (_closeAsked) lookWhetherClosed();
    } else if (!std::exchange(_openTold, true)) {
        _closeTold = true; // what never was open is not closed either
        tellOpened(_refusal);
    } else if (_closeAsked) {
        lookWhetherClosed();
    } else {
        _receiver->writerFailed(this, error, true);
    }
}

void StreamPair::copyFailed(int number, const QmxError &error, bool fatal)
{
    Copy &copy = _copies[size_t(number)];
    if (copy.state == State::Gone) return;
    // Alone it stays open, as a stream does whose medium has failed: whoever records closes it.
    if (fatal && other(number))
        letGo(number, error);
    else
        _receiver->writerFailed(this, error, fatal);
}

/// The take goes on in the other copy; this one becomes a clip that ends early.
void StreamPair::letGo(int number, const QmxError &why)
{
    Copy &copy = _copies[size_t(number)];
    if (!copy.takes() && copy.state != State::Moved) return;
    const Copy *left = other(number);
    copy.state = State::Ending;
    copy.writer->giveUp();
    if (left) _receiver->writerLostCopy(why, left->path);
}

void StreamPair::copyClosed(int number, const QmxError &error)
{
    Copy &copy = _copies[size_t(number)];
    if (copy.state == State::Gone) return;
    const bool late = (copy.takes() || copy.state == State::Moved) && error.isError();
    copy.whole = copy.takes() && !error.isError();
    if (copy.state == State::Moved) _tally->leave(number);
    copy.state = State::Gone;
    if (late) {
        if (const Copy *left = other(number))
            _receiver->writerLostCopy(error, left->path);
        else
            _closeError = error;
    }
    if (_closeAsked) lookWhetherClosed();
}

/// The last thing that is done: who is told may let go of this object.
void StreamPair::lookWhetherClosed()
{
    const bool busy = isBusy();
    if (_closeTold) {
        if (busy) return;
        _patience.stop();
        _receiver->writerClosed(this, {});
    } else if (!busy || _copies.front().whole) {
        _closeTold = true;
        if (busy) awaitRest();
        _receiver->writerClosed(this, _closeError);
    } else if (_copies.size() > 1 && second().whole) {
        _patience.start(firstCopyWaitMs);
    }
}

void StreamPair::awaitRest()
{
    _restBefore = pending();
    _patience.start(hangMs);
}

void StreamPair::leaveBehind()
{
    if (!_closeTold) { // the second copy is whole and stands for the first one, which is written on
        _closeTold = true;
        awaitRest();
        _receiver->writerClosed(this, {});
        return;
    }
    // A take that began in the past may need longer to be written than is promised of one that did not.
    if (pending() < _restBefore) {
        awaitRest();
        return;
    }
    for (int i = 0; i < int(_copies.size()); ++i) {
        Copy &copy = _copies[size_t(i)];
        if (copy.state == State::Gone) continue;
        const bool late = copy.takes();
        copy.state = State::Gone;
        copy.writer->abandon();
        const Copy *left = late ? other(i) : nullptr;
        if (left)
            _receiver->writerLostCopy(
                {ETIMEDOUT, QStringLiteral("%1: the medium does not answer").arg(copy.path)}, left->path);
    }
    _receiver->writerClosed(this, {});
}

void StreamPair::open()
{
    for (Copy &copy : _copies)
        copy.writer->open();
}

void StreamPair::openAhead()
{
    for (Copy &copy : _copies)
        copy.writer->openAhead();
}

void StreamPair::begin(const StreamAsk &ask)
{
    _ask = ask;
    for (Copy &copy : _copies)
        if (copy.state != State::Gone) copy.writer->begin(ask.clip);
}

void StreamPair::leaveFigures()
{
    for (Copy &copy : _copies)
        copy.writer->leaveFigures();
}

bool StreamPair::hasRoom()
{
    if (taking() < 2) {
        for (Copy &copy : _copies)
            if (copy.takes()) return copy.writer->hasRoom();
        return true; // what comes is dropped, and counted
    }
    const bool firstHas = _copies[0].writer->hasRoom();
    const bool secondHas = second().writer->hasRoom();
    if (firstHas && secondHas) return true;
    if (!firstHas && !secondHas) return false;
    const int full = firstHas ? _second : 0;
    if ((firstHas ? _copies[0] : second()).writer->fill() > wellAhead) {
        // A medium that hangs never says that it has room; the other one is asked again.
        _again.start(againMs);
        return false;
    }
    letGo(full,
          {ETIMEDOUT, QStringLiteral("%1: the medium is too slow, or does not answer; the frames that waited "
                                     "for it are in the other copy")
                          .arg(_copies[size_t(full)].path)});
    return true;
}

void StreamPair::append(const QmxFrame &frame)
{
    const int any = taking();
    const QmxFrame shared = any > 1 ? QmxClipWriter::share(frame) : frame;
    for (Copy &copy : _copies)
        if (copy.takes()) copy.writer->append(shared);
    // Which counts it as lost.
    if (any == 0) (_copies.size() > 1 ? second() : _copies.front()).writer->append(frame);
    ++_appended;
}

void StreamPair::flush()
{
    for (Copy &copy : _copies)
        if (copy.takes()) copy.writer->flush();
}

void StreamPair::close()
{
    _flush.stop();
    _closeAsked = true;
    for (Copy &copy : _copies)
        if (copy.state != State::Gone) copy.writer->close();
    if (!isBusy())
        QMetaObject::invokeMethod(
            &_patience, [this] { lookWhetherClosed(); }, Qt::QueuedConnection);
}

void StreamPair::abandon()
{
    _flush.stop();
    _patience.stop();
    _again.stop();
    for (Copy &copy : _copies) {
        if (copy.state == State::Gone) continue;
        copy.state = State::Gone;
        copy.writer->abandon();
    }
}

int StreamPair::pending() const
{
    int most = 0;
    for (const Copy &copy : _copies)
        if (copy.takes()) most = std::max(most, copy.writer->pending());
    return most;
}

bool StreamPair::hasBacklog() const
{
    return std::any_of(_copies.begin(), _copies.end(), [](const Copy &copy) {
        return copy.state != State::Gone && copy.writer && copy.writer->hasBacklog();
    });
}

bool StreamPair::isBusy() const
{
    return std::any_of(_copies.begin(), _copies.end(),
                       [](const Copy &copy) { return copy.state != State::Gone; });
}
