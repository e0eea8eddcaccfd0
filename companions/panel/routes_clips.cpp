// SPDX-License-Identifier: GPL-3.0-or-later
// The clips of the active medium: what is known of one, the files themselves.
#include "companions/panel/panel.h"
#include "companions/panel/secondcopies.h"
#include "companions/panel/waveforms.h"
#include "platform/control/clipdescription.h"
#include "platform/control/marksof.h"
#include "platform/qmx/clip/qmxclipreader.h"
#include "platform/qmx/clip/qmxclipstill.h"
#include "platform/qmx/core/qmxenvironment.h"
#include "platform/qmx/core/qmxplaces.h"
#include "platform/qmx/core/qmxsafefile.h"
#include "platform/qmx/core/qmxsafefolder.h"

#include <QFile>
#include <QFileInfo>
#include <QJsonArray>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <limits>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {
/// A name that cannot lead out of its folder, nor to what is hidden there.
bool isFileName(const QString &name)
{
    constexpr qsizetype longest = 255;
    return !name.isEmpty() && !name.startsWith('.') && !name.contains('/') && !name.contains('\n') &&
           name.toUtf8().size() <= longest;
}

QString pathOf(Control &control, const QString &name)
{
    const QString folder = control.recorder().text(eParam_ActiveMediaPath);
    return folder.isEmpty() ? QString() : control.recorder().here(folder + '/' + name);
}

HttpReply notThere(Control &control, const QString &name)
{
    return problemReply(404, "no_clip", control.recorder().whyNoClip(name),
                        "GET /api/v1/clips lists those there are");
}

/// "bytes=FROM-TO", one part; nothing when it is another kind, which is then passed over, as HTTP has it.
/// `isOutside`: it lies outside the file.
std::optional<FilePart> rangeOf(const QByteArray &header, qint64 size, bool &isOutside)
{
    if (!header.startsWith("bytes=") || header.contains(',')) return {};
    const QByteArray range = header.mid(6).trimmed();
    const qsizetype dash = range.indexOf('-');
    if (dash < 0) return {};
    bool isFrom = false;
    bool isTo = false;
    const qint64 from = range.left(dash).toLongLong(&isFrom);
    const qint64 to = range.mid(dash + 1).toLongLong(&isTo);
    const bool hasTo = dash + 1 < range.size();
    FilePart part;
    if (dash == 0) { // so many bytes at the end
        if (!isTo || to < 0) return {};
        isOutside = to == 0 || size == 0;
        part.from = std::max<qint64>(0, size - to);
        part.length = size - part.from;
        return part;
    }
    if (!isFrom || from < 0 || (hasTo && (!isTo || to < from))) return {};
    isOutside = from >= size;
    part.from = from;
    part.length = (hasTo ? std::min(to, size - 1) : size - 1) - from + 1;
    return part;
}
/// A file of a medium, or the part of it that is asked for; nothing when there is none.
std::optional<HttpReply> fileReply(const HttpCall &call, const QString &path, const char *type)
{
    // What is told of it and what is sent is one file, whatever has its name by then.
    const int fd = path.isEmpty() ? -1 : QmxSafeFile::open(QFile::encodeName(path).constData(), O_RDONLY);
    if (fd < 0) return {};
    const std::shared_ptr<const int> opened(new int(fd), [](const int *one) {
        close(*one);
        delete one;
    });
    struct stat status = {};
    if (fstat(fd, &status) != 0) return {};
    const QByteArray tag = '"' + QByteArray::number(qint64(status.st_size), 16) + '-' +
                           QByteArray::number(qint64(status.st_mtim.tv_sec), 16) + '.' +
                           QByteArray::number(qint64(status.st_mtim.tv_nsec), 16) + '"';
    HttpReply reply;
    reply.type = type;
    reply.headers = {{"Accept-Ranges", "bytes"}, {"ETag", tag}};
    if (!call.header("if-none-match").isEmpty() && call.header("if-none-match") == tag) {
        reply.status = 304;
        return reply;
    }
    FilePart part{opened, 0, qint64(status.st_size)};
    const QByteArray condition = call.header("if-range");
    bool isOutside = false;
    const auto range = condition.isEmpty() || condition == tag
                           ? rangeOf(call.header("range"), part.length, isOutside)
                           : std::nullopt;
    if (isOutside) {
        HttpReply outside = problemReply(416, "outside", "the clip is not that long");
        outside.headers.emplaceBack("Content-Range", "bytes */" + QByteArray::number(part.length));
        return outside;
    }
    if (range) {
        reply.status = 206;
        reply.headers.append({"Content-Range", "bytes " + QByteArray::number(range->from) + '-' +
                                                   QByteArray::number(range->from + range->length - 1) + '/' +
                                                   QByteArray::number(part.length)});
        part.from = range->from;
        part.length = range->length;
    }
    reply.file = part;
    return reply;
}
} // namespace

std::optional<qsizetype> numberIn(const HttpCall &call, const char *name, qsizetype otherwise, qsizetype most)
{
    const QString text = call.query.value(QLatin1String(name));
    if (text.isEmpty()) return otherwise;
    bool isNumber = false;
    const qsizetype value = text.toLongLong(&isNumber);
    return isNumber && value >= 0 && value <= most ? std::optional(value) : std::nullopt;
}

QString proxyNameOf(const QString &name)
{
    return name.left(name.lastIndexOf('.')) + QLatin1String(".mp4");
}

void getClip(Panel &panel, const HttpCall &call, Respond respond)
{
    onWorker(panel, respond, [name = call.words.first()](Control &control) {
        const QString path = pathOf(control, name);
        QmxClipInfo info;
        if (!isFileName(name) || path.isEmpty() || QmxClipReader::probe(path, info).isError())
            return notThere(control, name);
        QJsonObject object = describeClip(QFileInfo(path), info, control.recorder().environment());
        object["grows"] = !info.closed && !info.foreign && QmxClipReader::isBeingRecorded(path);
        QString told;
        SecondCopies(control, {Clip(name.toStdString(), path.toStdString(), int(info.frames))})
            .tell(name, object);
        object["marks"] = marksObject(ClipMarksFile::read(path, told), info);
        if (!told.isEmpty()) object["told"] = told;
        return jsonReply(object);
    });
}

void getClipFile(Panel &panel, const HttpCall &call, Respond respond)
{
    onWorker(panel, respond, [call](Control &control) {
        const QString name = call.words.first();
        auto reply =
            isFileName(name) ? fileReply(call, pathOf(control, name), "video/quicktime") : std::nullopt;
        if (!reply) return notThere(control, name);
        if (reply->file)
            reply->headers.emplaceBack("Content-Disposition",
                                       "attachment; filename*=UTF-8''" + name.toUtf8().toPercentEncoding());
        return *reply;
    });
}

void getProxy(Panel &panel, const HttpCall &call, Respond respond)
{
    onWorker(panel, respond, [call](Control &control) {
        const QString name = call.words.first();
        const QString path = pathOf(control, proxyNameOf(name));
        auto reply = isFileName(name) ? fileReply(call, path, "video/mp4") : std::nullopt;
        return reply ? *reply
                     : problemReply(404, "no_proxy", QStringLiteral("there is no proxy of %1 yet").arg(name),
                                    "POST clips/NAME/export with proxy and to makes one");
    });
}

void getThumbnail(Panel &panel, const HttpCall &call, Respond respond)
{
    onWorker(panel, respond, [name = call.words.first()](Control &control) {
        const QString folder = control.recorder().text(eParam_ActiveMediaPath);
        const std::shared_ptr<const QmxPlaces> places = control.recorder().environment().places;
        constexpr qint64 largest = 1024 * 1024;
        const QmxSafeFolder pictures =
            QmxSafeFolder(places->thumbnails).below(folder.mid(folder.lastIndexOf('/') + 1));
        const int fd = isFileName(name) && folder.contains('/') ? pictures.open(name + ".jpg", O_RDONLY) : -1;
        const auto picture = fd >= 0 ? QmxSafeFile::contents(fd, largest) : std::nullopt;
        if (fd >= 0) close(fd);
        if (!picture)
            return problemReply(404, "no_thumbnail",
                                QStringLiteral("there is no picture of %1 yet").arg(name));
        HttpReply reply;
        reply.type = "image/jpeg";
        reply.body = *picture;
        reply.headers = {{"Cache-Control", "private, max-age=60"}};
        return reply;
    });
}

void getClipStill(Panel &panel, const HttpCall &call, Respond respond)
{
    onWorker(panel, respond, [words = call.words](Control &control) {
        const QString path = pathOf(control, words[0]);
        bool isNumber = false;
        const qint64 frame = words[1].toLongLong(&isNumber);
        if (!isNumber || frame < 0)
            return problemReply(400, "wrong_argument",
                                QStringLiteral("'%1' is no number of a frame").arg(words[1]));
        if (!isFileName(words[0]) || path.isEmpty()) return notThere(control, words[0]);
        HttpReply reply;
        reply.type = "image/jpeg";
        reply.body = QmxClipStill::make(path, frame, QmxEnvironment::current());
        if (reply.body.isEmpty())
            return problemReply(
                404, "no_such_frame",
                QStringLiteral("%1 has no frame %2 that can be shown").arg(words[0]).arg(frame));
        reply.headers = {{"Cache-Control", "private, max-age=60"}};
        return reply;
    });
}

void getWaveform(Panel &panel, const HttpCall &call, Respond respond)
{
    constexpr qsizetype usual = 500;
    constexpr qsizetype farthest = std::numeric_limits<int>::max();
    const auto columns = numberIn(call, "columns", usual, QmxClipWaveform::mostColumns);
    const auto from = numberIn(call, "from", 0, farthest);
    const auto to = numberIn(call, "to", farthest, farthest);
    if (!columns || *columns == 0 || !from || !to)
        return respond(problemReply(
            400, "wrong_argument", "the sound cannot be given like that",
            QStringLiteral("columns from 1 to %1, from and to in frames").arg(QmxClipWaveform::mostColumns)));
    onWorker(panel, respond, [=, name = call.words.first()](Control &control) {
        static Waveforms waveforms;
        const QString path = pathOf(control, name);
        QmxClipWaveform::Peaks peaks;
        if (!isFileName(name) || path.isEmpty()) return notThere(control, name);
        const QmxError error = waveforms.peaks(path, *from, *to, int(*columns), peaks);
        if (error.value() == EINVAL)
            return problemReply(404, "no_such_frame", QStringLiteral("%1 has no frames there").arg(name));
        if (error.value() == EBUSY)
            return problemReply(429, "busy", "the sound of another clip is being read",
                                "try again in a moment");
        if (error.isError()) return notThere(control, name);
        constexpr double steps = 1000; // finer than any screen shows
        QJsonArray shown;
        for (const float peak : peaks.columns)
            shown.append(std::round(double(peak) * steps) / steps);
        return jsonReply({{"from", peaks.first}, {"to", peaks.end}, {"peaks", shown}});
    });
}

void postClipVerb(Panel &panel, const HttpCall &call, Respond respond)
{
    const VerbRow *row = findVerb(call.words[1]);
    const auto isClip = [](const VerbArgument &one) { return one.type == VerbArgument::Type::Clip; };
    const auto argument = row ? std::find_if(row->arguments.begin(), row->arguments.end(), isClip)
                              : std::vector<VerbArgument>::const_iterator();
    if (!row || argument == row->arguments.end())
        return respond(problemReply(404, "no_such_verb",
                                    QStringLiteral("there is no verb '%1' for a clip").arg(call.words[1]),
                                    "clip, copy, verify, export, protect, unprotect, delete"));
    HttpCall verb = call;
    verb.words = {call.words[1]};
    verb.query[QLatin1String(argument->name)] = call.words[0];
    postVerb(panel, verb, std::move(respond));
}
