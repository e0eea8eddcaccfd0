// SPDX-License-Identifier: GPL-3.0-or-later
#include "companions/mediad/clipcomplete.h"

#include "companions/mediad/clipcare.h"
#include "companions/mediad/clipcopy.h"
#include "companions/mediad/mediamachine.h"
#include "companions/mediad/openfile.h"
#include "platform/product/clipplaces.h"
#include "platform/qmx/clip/continuedcopy.h"
#include "platform/qmx/clip/qmxclipreader.h"
#include "platform/qmx/clip/qmxclipwriter.h"

#include <cerrno>
#include <cmath>
#include <cstring>

#include <QFileInfo>

#include <fcntl.h>
#include <sys/stat.h>

namespace {

using Pace = std::function<bool(qint64, qint64)>;

/// Written frames are made durable often, so that the recorder's own flush never waits for many.
constexpr qint64 framesAFlush = 12;

QString local(const std::string &path)
{
    return QString::fromLocal8Bit(path);
}

bool hasEqualPicture(const QmxFrame &one, const QmxFrame &other)
{
    const auto pictures = [](const QmxFrame &frame) {
        return frame.vids().isEmpty() ? QmxBuffer() : frame.vids().first().buffers().value(0);
    };
    const QmxBuffer first = pictures(one);
    const QmxBuffer second = pictures(other);
    return first.size() == second.size() &&
           std::memcmp(first.constData(), second.constData(), size_t(first.size())) == 0;
}

bool isEqual(const QmxFrame &one, const QmxFrame &other)
{
    if (!hasEqualPicture(one, other)) return false;
    if (one.auds().size() != other.auds().size()) return false;
    for (qsizetype i = 0; i < one.auds().size(); ++i) {
        const QmxAudio a = one.auds()[i];
        const QmxAudio b = other.auds()[i];
        if (a.samples() != b.samples() || a.desc() != b.desc() ||
            std::memcmp(a.data(), b.data(), size_t(a.samples()) * size_t(a.desc().channels()) * 4) != 0)
            return false;
    }
    return true;
}

/// Two copies of one take, one of them shorter.
class Completion
{
public:
    Completion(std::string whole, std::string early, const QmxEnvironment &environment, const Pace &pace)
        : _whole(std::move(whole)),
          _early(std::move(early)),
          _environment(environment),
          _pace(pace),
          _source(environment)
    {}

    QmxError run()
    {
        QmxError error = _source.open(local(_whole));
        if (!error.isError()) error = begin();
        if (!error.isError()) error = append();
        // Closed in any case: what has been added so far stays, and the rest comes the next time.
        const QmxError closing = _writer.close();
        if (error.isError()) return error;
        return closing.isError() ? closing : compare();
    }

    qint64 added() const { return _total - _first; }

private:
    /// What both have must be the same, else it is not for us to add to it.
    QmxError begin()
    {
        QmxClipReader early(_environment);
        QmxError error = early.open(local(_early));
        if (error.isError()) return error;
        _first = early.info().frames;
        _total = _source.info().frames;
        for (const qint64 frame : {qint64(0), _first - 1})
            if (!error.isError()) error = equal(early, frame);
        early.close();
        if (!error.isError()) error = room();
        return error.isError() ? error : _writer.resume(local(_early));
    }

    QmxError room() const
    {
        struct statfs64 space = {};
        struct stat64 status = {};
        const QString folder = local(_early.substr(0, _early.rfind('/')));
        if (_environment.files->statfs(folder, &space) != 0 ||
            _environment.files->stat(local(_whole), &status) != 0)
            return {errno, QStringLiteral("%1 does not answer").arg(folder)};
        const double missing = double(status.st_size) * double(_total - _first) / double(_total);
        const double left = double(space.f_bfree) - missing / double(space.f_bsize);
        if (std::round(left / double(space.f_blocks) * 100) > MediumLevel::full) return {};
        return {ENOSPC, QStringLiteral("%1 has too little room to complete %2: 10 % must stay free for "
                                       "recording")
                            .arg(folder, local(_early))};
    }

    QmxError append()
    {
        for (qint64 frame = _first; frame < _total; ++frame) {
            QmxFrame read;
            QmxError error = _source.readFrame(frame, read);
            if (!error.isError()) error = _writer.writeFrame(read);
            if (!error.isError() && (frame - _first) % framesAFlush == framesAFlush - 1)
                error = _writer.flush();
            if (error.isError()) return error;
            if (!went(read)) return ended();
        }
        return {};
    }

    QmxError compare()
    {
        QmxClipReader completed(_environment);
        QmxError error = completed.open(local(_early));
        if (error.isError()) return error;
        if (completed.info().frames != _total || !completed.info().closed)
            return {EIO, QStringLiteral("%1 could not be completed").arg(local(_early))};
        for (qint64 frame = _first; frame < _total; ++frame) {
            error = equal(completed, frame);
            if (error.isError()) return error;
        }
        return keepTime();
    }

    /// The order of recording is that of these times.
    QmxError keepTime() const
    {
        struct stat64 status = {};
        const OpenFile copy(*_environment.files, _early, O_RDONLY);
        if (_environment.files->stat(local(_whole), &status) != 0 || !copy.isOpen()) return {};
        const struct timespec times[] = {status.st_mtim, status.st_mtim};
        futimens(copy.fd(), times); // only the place in a list would be another
        return {};
    }

    QmxError equal(QmxClipReader &copy, qint64 frame)
    {
        QmxFrame mine;
        QmxFrame its;
        QmxError error = _source.readFrame(frame, mine);
        if (!error.isError()) error = copy.readFrame(frame, its);
        if (error.isError()) return error;
        if (!isEqual(mine, its))
            return {EIO, QStringLiteral("frame %1 of %2 differs from that of %3: one of the media is damaged")
                             .arg(QString::number(frame), local(_early), local(_whole))};
        return went(mine) ? QmxError() : ended();
    }

    bool went(const QmxFrame &frame)
    {
        _done += frame.bytes();
        if (_frameBytes == 0) _frameBytes = frame.bytes();
        return _pace(_done, std::max(_done, 2 * _frameBytes * (_total - _first)));
    }

    QmxError ended() const
    {
        return {ECANCELED, QStringLiteral("the completion of %1 was ended").arg(local(_early))};
    }

    const std::string _whole;
    const std::string _early;
    const QmxEnvironment &_environment;
    const Pace &_pace;
    QmxClipReader _source;
    QmxClipWriter _writer{_environment};
    qint64 _first = 0;
    qint64 _total = 0;
    qint64 _done = 0;
    qint64 _frameBytes = 0;
};

/// What is known of one of the two.
struct Look
{
    enum State {
        Readable,
        Missing,
        Empty,  ///< its medium went before the first half second was safe
        Strange ///< no clip of ours
    };
    State state = Missing;
    qint64 frames = -1;
};

/// An error is one of the medium: nothing can be said of the clip.
QmxError lookAt(const std::string &path, const QmxEnvironment &environment, Look &look)
{
    struct stat64 status = {};
    QmxClipInfo info;
    if (environment.files->stat(local(path), &status) != 0)
        return errno == ENOENT ? QmxError()
                               : QmxError(errno, QStringLiteral("%1 cannot be read: %2")
                                                     .arg(local(path), QmxError(errno).toString()));
    // What a pulled medium has been left with is closed first.
    bool repaired = false;
    QmxError error = QmxClipReader::repair(local(path), repaired, environment);
    if (error.value() == EWOULDBLOCK) return error; // it is being written
    error = QmxClipReader::probe(local(path), info, environment);
    switch (error.value()) {
    case 0:
        look = {info.foreign ? Look::Strange : Look::Readable, info.frames};
        return {};
    case ENODATA:
        look = {Look::Empty, -1};
        return {};
    case EILSEQ:
    case ENOTSUP:
        look = {Look::Strange, -1};
        return {};
    default:
        return error;
    }
}

/// Whether every frame of `part` is in `whole` as well. By their pictures: their sound came with them, and at
/// 29.97 frames a second how many samples a frame has depends on its number.
bool holds(QmxClipReader &whole, QmxClipReader &part, const Pace &pace)
{
    qint64 done = 0;
    const QmxClipInfo all = whole.info();
    const QmxClipInfo some = part.info();
    if (some.foreign || !some.closed || some.created != all.created || some.image != all.image) return false;
    const auto equal = [&](qint64 frame, qint64 first) {
        QmxFrame mine;
        QmxFrame its;
        if (part.readFrame(frame, mine).isError() || whole.readFrame(first + frame, its).isError())
            return false;
        done += mine.bytes() + its.bytes();
        return hasEqualPicture(mine, its) && pace(done, done);
    };
    for (qint64 first = 0; first + some.frames <= all.frames; ++first) {
        if (all.timecodeAt(first) != some.startTimecode || !equal(0, first)) continue;
        qint64 frame = 1;
        while (frame < some.frames && equal(frame, first))
            ++frame;
        if (frame == some.frames) return true;
    }
    return false;
}

/// The second copy went on there in the middle of the take, while no medium had all of it: now one has, and
/// what is in it twice goes.
void forgetParts(const std::string &copy, const QmxEnvironment &environment, const Pace &pace,
                 std::string &text)
{
    for (int number = 2; number <= mostCopyParts; ++number) {
        const QString name = local(copy);
        const QString path = QFileInfo(name).path() + '/' + continuedCopyName(name, number);
        struct stat64 status = {};
        if (environment.files->stat(path, &status) != 0) continue;
        QmxClipReader whole(environment);
        QmxClipReader part(environment);
        const bool isTwice =
            !whole.open(name).isError() && !part.open(path).isError() && holds(whole, part, pace);
        part.close();
        if (isTwice && !deleteClip(path.toLocal8Bit().toStdString(), environment).isError())
            text += "; " + path.toLocal8Bit().toStdString() + ", which is in it, has been deleted";
    }
}

} // namespace

QmxError completeCopy(const std::string &one, const std::string &other, const QmxEnvironment &environment,
                      const Pace &pace, std::string &text, bool *isLeft)
{
    const auto leave = [isLeft] {
        if (isLeft) *isLeft = true;
        return QmxError();
    };
    Look first;
    Look second;
    QmxError error = lookAt(one, environment, first);
    if (!error.isError()) error = lookAt(other, environment, second);
    if (error.isError()) return error;
    const bool firstIsLonger = first.frames >= second.frames;
    const std::string &whole = firstIsLonger ? one : other;
    const std::string &early = firstIsLonger ? other : one;
    const Look::State state = firstIsLonger ? second.state : first.state;
    if ((firstIsLonger ? first : second).state != Look::Readable) {
        text = "nothing can be read of " + one + " and " + other + "; there is nothing to complete";
        return leave();
    }
    if (state == Look::Empty) error = deleteClip(early, environment);
    if (!error.isError() && (state == Look::Empty || state == Look::Missing)) {
        error = copyClip(whole, early, environment, pace);
        text = early + " was missing and has been copied from " + whole + " and compared";
        if (!error.isError()) forgetParts(early, environment, pace, text);
    }
    if (error.isError() || state == Look::Empty || state == Look::Missing) return error;
    if (!isSameClip(whole, early, environment)) {
        text = early + " is another clip than " + whole + " and stays as it is";
        return leave();
    }
    if (first.frames == second.frames) {
        text = one + " and " + other + " are both whole, " + std::to_string(first.frames) + " frames";
        return {};
    }
    Completion completion(whole, early, environment, pace);
    error = completion.run();
    text = early + " has been completed from " + whole + ": " + std::to_string(completion.added()) +
           " frames were missing, have been added and compared";
    return error;
}
