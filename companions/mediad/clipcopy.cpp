// SPDX-License-Identifier: GPL-3.0-or-later
#include "companions/mediad/clipcopy.h"

#include "companions/mediad/mediamachine.h"
#include "companions/mediad/openfile.h"
#include "platform/product/clipmarks.h"
#include "platform/qmx/clip/qmxblake3.h"
#include "platform/qmx/clip/qmxclipcheck.h"
#include "platform/qmx/core/qmxloglevel.h"

#include <QFileInfo>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <memory>
#include <optional>

#include <fcntl.h>
#include <stdio.h>
#include <sys/file.h>

namespace {

constexpr qint64 piece = 1 << 20;
/// Written pages are made durable often, so that the recorder's own flush does not have to wait for many.
constexpr qint64 syncEvery = 4 * piece;
constexpr std::size_t alignment = 4096; ///< that direct reading asks for

using Pace = std::function<bool(qint64, qint64)>;

struct Piece
{
    std::unique_ptr<char, decltype(&std::free)> data{
        static_cast<char *>(std::aligned_alloc(alignment, piece)), &std::free};
};

QmxError failed(const char *what, const std::string &path)
{
    const int reason = errno;
    return {reason,
            QStringLiteral("%1 %2: %3")
                .arg(QString::fromLatin1(what), QString::fromLocal8Bit(path), QmxError(reason).toString())};
}

class Copy
{
public:
    Copy(const std::string &from, const std::string &to, const QmxEnvironment &environment, const Pace &pace)
        : _from(from),
          _to(to),
          _part(to.substr(0, to.rfind('/') + 1) + '.' + to.substr(to.rfind('/') + 1) + ".part"),
          _environment(environment),
          _files(*environment.files),
          _pace(pace)
    {}

    QmxError run(std::string &finding)
    {
        const OpenFile source(_files, _from, O_RDONLY);
        QmxError error = check(source);
        if (error.isError()) return error;
        _files.unlink(QString::fromLocal8Bit(_part)); // of a copy that a crash has ended
        error = write(source);
        if (!error.isError()) error = compare(finding);
        if (!error.isError()) error = publish();
        if (error.isError()) _files.unlink(QString::fromLocal8Bit(_part));
        return error;
    }

private:
    QmxError check(const OpenFile &source)
    {
        if (!source.isOpen()) {
            const int reason = errno;
            return {reason, QString::fromLocal8Bit(_from) + ' ' + whyNotOpened(reason)};
        }
        if (_files.flock(source.fd(), LOCK_SH | LOCK_NB) != 0)
            return {EWOULDBLOCK, QStringLiteral("%1 is being recorded; copy it when the take has ended")
                                     .arg(QString::fromLocal8Bit(_from))};
        struct stat64 other = {};
        if (_files.fstat(source.fd(), &_status) != 0) return failed("cannot read", _from);
        if (_files.stat(QString::fromLocal8Bit(_to), &other) == 0)
            return {EEXIST, QStringLiteral("%1 exists already; delete it first, or copy to another medium")
                                .arg(QString::fromLocal8Bit(_to))};
        struct statfs64 space = {};
        const std::string folder = _to.substr(0, _to.rfind('/'));
        if (_files.statfs(QString::fromLocal8Bit(folder), &space) != 0)
            return failed("cannot write to", folder);
        const double left = double(space.f_bfree) - double(_status.st_size) / double(space.f_bsize);
        if (std::round(left / double(space.f_blocks) * 100) <= MediumLevel::full)
            return {ENOSPC, QStringLiteral("%1 has too little room for %2: 10 % must stay free for recording")
                                .arg(QString::fromLocal8Bit(folder),
                                     QFileInfo(QString::fromLocal8Bit(_from)).fileName())};
        return {};
    }

    QmxError write(const OpenFile &source)
    {
        _target.emplace(_files, _part, O_WRONLY | O_CREAT | O_EXCL, 0644);
        const OpenFile &target = *_target;
        if (!target.isOpen()) return failed("cannot write", _part);
        _files.flock(target.fd(), LOCK_EX | LOCK_NB); // tells it from one that a crash has ended
        qint64 unsynced = 0;
        for (qint64 at = 0; at < _status.st_size;) {
            const ssize_t got = _files.pread(source.fd(), _piece.data.get(), piece, at);
            if (got < 0) return failed("cannot read", _from);
            if (got == 0) break; // shorter than it was: the comparison of lengths below tells
            if (at == 0) _mayBeProven = QmxClipCheck::looksOurs(_piece.data.get(), got);
            _read.add(_piece.data.get(), size_t(got));
            for (ssize_t written = 0; written < got;) {
                const ssize_t more = _files.pwrite(target.fd(), _piece.data.get() + written,
                                                   std::size_t(got - written), at + written);
                if (more < 0) return failed("cannot write", _part);
                written += more;
            }
            at += got;
            _done += got;
            unsynced += got;
            if (unsynced >= syncEvery || at >= _status.st_size) {
                if (_files.fdatasync(target.fd()) != 0) return failed("cannot write", _part);
                unsynced = 0;
            }
            if (!_pace(_done, 2 * _status.st_size)) return canceled();
        }
        // The order of recording is that of these times.
        const struct timespec times[] = {_status.st_mtim, _status.st_mtim};
        if (futimens(target.fd(), times) != 0) return failed("cannot keep the time of recording of", _part);
        if (_files.fsync(target.fd()) != 0) return failed("cannot write", _part);
        return {};
    }

    /// Reads the copy from the medium itself, not from memory, where the file system lets one. A clip that
    /// carries a proof is checked by it in the same pass.
    QmxError compare(std::string &finding)
    {
        if (!_mayBeProven) return compareBytes();
        QmxClipCheck check;
        QmxBlake3 written;
        const qint64 before = _done;
        const QmxError error = QmxClipCheck::run(
            QString::fromLocal8Bit(_part), check, _environment,
            [&](qint64 done, qint64) {
                _done = before + done;
                return _pace(_done, 2 * _status.st_size);
            },
            [&](const uchar *data, qint64 size) { written.add(data, size_t(size)); });
        if (error.value() == ECANCELED) return canceled();
        if (error.isError() || !check.closed || check.bytes != _status.st_size) {
            _done = before;
            return compareBytes();
        }
        if (written.result() != _read.result()) return differs();
        finding = check.isWhole()
                      ? "it is what was recorded, chain " + check.chain.toStdString()
                      : "the clip itself is damaged, and so is its copy: " + check.sentence().toStdString();
        return {};
    }

    QmxError compareBytes()
    {
        OpenFile target(_files, _part, O_RDONLY | O_DIRECT);
        if (!target.isOpen()) target = OpenFile(_files, _part, O_RDONLY);
        if (!target.isOpen()) return failed("cannot read back", _part);
        QmxBlake3 written;
        struct stat64 status = {};
        if (_files.fstat(target.fd(), &status) != 0) return failed("cannot read back", _part);
        // Pieces begin at whole multiples, as direct reading wants it.
        for (qint64 at = 0; at < status.st_size;) {
            const ssize_t got = _files.pread(target.fd(), _piece.data.get(), piece, at);
            if (got < 0) return failed("cannot read back", _part);
            if (got == 0) break;
            written.add(_piece.data.get(), size_t(got));
            at += got;
            _done += got;
            if (!_pace(_done, 2 * _status.st_size)) return canceled();
        }
        return status.st_size != _status.st_size || written.result() != _read.result() ? differs()
                                                                                       : QmxError();
    }

    QmxError differs() const
    {
        return {EIO,
                QStringLiteral(
                    "the copy of %1 differs from it: one of the media is damaged; the copy has been removed")
                    .arg(QString::fromLocal8Bit(_from))};
    }

    QmxError publish()
    {
        if (_files.renameNew(QString::fromLocal8Bit(_part), QString::fromLocal8Bit(_to)) != 0)
            return failed("cannot name the copy", _to);
        const OpenFile folder(_files, _to.substr(0, _to.rfind('/')), O_RDONLY | O_DIRECTORY);
        if (folder.isOpen()) _files.fsync(folder.fd());
        return {};
    }

    QmxError canceled() const
    {
        return {ECANCELED, QStringLiteral("the copy of %1 was ended").arg(QString::fromLocal8Bit(_from))};
    }

    const std::string _from;
    const std::string _to;
    const std::string _part;
    const QmxEnvironment &_environment;
    QmxFiles &_files;
    const Pace &_pace;
    Piece _piece;
    struct stat64 _status = {};
    qint64 _done = 0;
    std::optional<OpenFile> _target; ///< until the copy has its name
    QmxBlake3 _read;
    bool _mayBeProven = false;
};

} // namespace

QmxError copyClip(const std::string &from, const std::string &to, const QmxEnvironment &environment,
                  const std::function<bool(qint64, qint64)> &pace, std::string *finding)
{
    std::string found;
    QmxError error = Copy(from, to, environment, pace).run(found);
    if (finding) *finding = found;
    if (error.isError()) return error;
    const QmxError marks =
        ClipMarksFile::follow(QString::fromLocal8Bit(from), QString::fromLocal8Bit(to), true, environment);
    if (marks.isError()) qmxLogText(QmxLogLevel::Warning, "clipcopy", __LINE__, marks.toString());
    return error;
}
