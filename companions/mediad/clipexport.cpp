// SPDX-License-Identifier: GPL-3.0-or-later
#include "companions/mediad/clipexport.h"

#include "companions/mediad/exportsource.h"
#include "companions/mediad/mediamachine.h"
#include "companions/mediad/openfile.h"
#include "companions/mediad/proxywriter.h"
#include "platform/product/clipmarks.h"
#include "platform/qmx/clip/qmxclipcheck.h"
#include "platform/qmx/clip/qmxclipwriter.h"
#include "platform/qmx/core/qmxloglevel.h"

#include <QDir>
#include <QFileInfo>
#include <QJsonObject>

#include <algorithm>
#include <cerrno>
#include <cmath>

namespace {

/// A proxy takes about so many bits a second.
constexpr double proxyBits = 4e6;

class Export
{
public:
    Export(const ClipExport &order, const QmxEnvironment &environment,
           const std::function<bool(qint64, qint64)> &pace)
        : _order(order),
          _environment(environment),
          _files(*environment.files),
          _pace(pace),
          _part(QFileInfo(order.to).path() + "/." + QFileInfo(order.to).fileName() + ".part"),
          _source(environment)
    {}

    QmxError run(std::string &finding)
    {
        QmxError error = _source.open(_order.folder, _order.entries);
        if (!error.isError()) error = check();
        if (error.isError()) return error;
        removeLeft();
        collectMarks();
        error = _order.isProxy ? makeProxy(finding) : makeClip(finding);
        if (!error.isError()) error = publish();
        if (!error.isError()) keepMarks();
        // Never what somebody else has made under that name.
        if (error.isError() && _isMade) _files.unlink(_part);
        return error;
    }

private:
    QmxError check()
    {
        struct stat64 status = {};
        struct statfs64 space = {};
        const QString folder = QFileInfo(_order.to).path();
        // A link on a medium could lead anywhere.
        if (QFileInfo(folder).canonicalFilePath() != QDir::cleanPath(folder) && QFileInfo::exists(folder))
            return {ELOOP, QStringLiteral("%1 leads elsewhere through a link").arg(folder)};
        if (_files.stat(_order.to, &status) == 0)
            return {EEXIST, QStringLiteral("%1 exists already; choose another name").arg(_order.to)};
        if (_files.statfs(folder, &space) != 0) {
            const int reason = errno;
            return {reason,
                    QStringLiteral("cannot write to %1: %2").arg(folder, QmxError(reason).toString())};
        }
        if (!_order.isProxy && !_source.isCopyable())
            return {ENOTSUP,
                    QStringLiteral("%1 is not of ProRes with plain sound of 48 kHz and cannot be copied into "
                                   "a clip; --proxy makes an MP4 of it")
                        .arg(_order.entries.first())};
        const double seconds = double(_source.frames()) / _source.info().image.frameRate().toDouble();
        _bytes = _order.isProxy ? qint64(seconds * proxyBits / 8) : _source.bytes();
        const double left = double(space.f_bfree) - double(_bytes) / double(space.f_bsize);
        if (std::round(left / double(space.f_blocks) * 100) <= MediumLevel::full)
            return {ENOSPC,
                    QStringLiteral("%1 has too little room for this: 10 % must stay free for recording")
                        .arg(folder)};
        return {};
    }

    /// Of an export that a crash has ended; one that goes on is locked.
    void removeLeft()
    {
        const OpenFile left(_files, _part.toLocal8Bit().toStdString(), O_RDONLY);
        if (left.isOpen() && _files.flock(left.fd(), LOCK_EX | LOCK_NB) == 0) _files.unlink(_part);
    }

    /// `done` of all that is to be done, as if it were bytes of the sources.
    bool told(double done)
    {
        const double total = double(_source.bytes()) * (_order.isProxy ? 1 : 2);
        return _pace(qint64(std::min(done, 1.0) * total), qint64(total));
    }

    QmxError makeClip(std::string &finding)
    {
        const QmxClipInfo &info = _source.info();
        QmxClipWriter writer(_environment);
        QmxError error = writer.create(_part, info);
        _isMade = !error.isError();
        const int flushEvery = std::max(1, info.image.frameRate().timecodeRate() / 2);
        for (qint64 i = 0; i < _source.frames() && !error.isError(); ++i) {
            QmxFrame frame;
            error = _source.next(frame);
            if (!error.isError()) error = writer.writeFrame(frame);
            if (!error.isError() && (i + 1) % flushEvery == 0) error = writer.flush();
            constexpr double half = 0.5; // reading back is the other one
            const double done = double(i + 1) / double(_source.frames());
            if (!error.isError() && !told(half * done)) error = canceled();
        }
        if (error.isError()) return error;
        writer.setOrigin(_source.origin());
        writer.setChapters(_marks.chapters());
        error = writer.close();
        return error.isError() ? error : compare(finding);
    }

    /// Every picture was checked when it was read: that what lies there now fits its proof makes it the same.
    QmxError compare(std::string &finding)
    {
        QmxClipCheck check;
        QmxError error = QmxClipCheck::run(_part, check, _environment, [this](qint64 done, qint64 total) {
            constexpr double half = 0.5;
            return told(half + half * double(done) / double(std::max<qint64>(total, 1)));
        });
        if (error.value() == ECANCELED) return canceled();
        if (error.isError()) return error;
        if (!check.isWhole() || check.frames != _source.frames())
            return {EIO,
                    QStringLiteral("what was written to %1 is not what was read: the medium is damaged; the "
                                   "file has been removed")
                        .arg(QFileInfo(_order.to).path())};
        finding =
            std::to_string(check.frames) + " frames, copied as they are, chain " + check.chain.toStdString();
        return {};
    }

    QmxError makeProxy(std::string &finding)
    {
        ProxyWriter writer(_environment, _order.burn);
        QmxError error = writer.create(_part, _source.info(), _source.frames(), _marks.chapters());
        _isMade = error.value() != EEXIST;
        for (qint64 i = 0; i < _source.frames() && !error.isError(); ++i) {
            QmxFrame frame;
            error = _source.next(frame);
            if (!error.isError()) error = writer.write(frame);
            if (!error.isError() && !told(double(i + 1) / double(_source.frames()))) error = canceled();
        }
        finding = std::to_string(_source.frames()) + " frames, as H.264";
        return error.isError() ? error : writer.close();
    }

    QmxError publish()
    {
        if (_files.renameNew(_part, _order.to) != 0) {
            const int reason = errno;
            return {reason, QStringLiteral("cannot name %1: %2").arg(_order.to, QmxError(reason).toString())};
        }
        const OpenFile folder(_files, QFileInfo(_order.to).path().toLocal8Bit().toStdString(),
                              O_RDONLY | O_DIRECTORY);
        if (folder.isOpen()) _files.fsync(folder.fd());
        return {};
    }

    /// The marks of the sources that lie in what is taken.
    void collectMarks()
    {
        for (const auto &[path, range, begin] : _source.pieces()) {
            QString told;
            const ClipMarks own = ClipMarksFile::read(path, told, _environment);
            for (const ClipMarks::Point &point : own.points)
                if (point.frame >= range.first && point.frame < range.end)
                    _marks.setPoint(point.name, begin + point.frame - range.first);
            if (_source.pieces().size() > 1) continue;
            if (own.in && *own.in > range.first && *own.in < range.end) _marks.in = *own.in - range.first;
            if (own.out && *own.out > range.first && *own.out < range.end)
                _marks.out = *own.out - range.first;
        }
    }

    /// Beside the file as well: there they can be changed. A clip without them is whole all the same.
    void keepMarks()
    {
        if (_marks.isEmpty()) return;
        QString told;
        const auto set = [this](ClipMarks &all) {
            all = _marks;
            return QmxError();
        };
        if (const QmxError error = ClipMarksFile::change(_order.to, set, told, _environment); error.isError())
            qmxLogText(QmxLogLevel::Warning, "clipexport", __LINE__, error.toString());
    }

    QmxError canceled() const
    {
        return {ECANCELED, QStringLiteral("the export to %1 was ended").arg(_order.to)};
    }

    const ClipExport &_order;
    const QmxEnvironment &_environment;
    QmxFiles &_files;
    const std::function<bool(qint64, qint64)> &_pace;
    const QString _part;
    ExportSource _source;
    ClipMarks _marks;
    qint64 _bytes = 0; ///< that are needed
    bool _isMade = false;
};

} // namespace

QmxError exportClips(const ClipExport &order, const QmxEnvironment &environment,
                     const std::function<bool(qint64, qint64)> &pace, std::string &finding)
{
    return Export(order, environment, pace).run(finding);
}
