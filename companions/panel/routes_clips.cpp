// SPDX-License-Identifier: GPL-3.0-or-later
// The clips of the active medium: lists, what is known of one, the files themselves.
#include "companions/panel/panel.h"
#include "companions/panel/waveforms.h"
#include "platform/control/clipdescription.h"
#include "platform/control/marksof.h"
#include "platform/product/clipfinder.h"
#include "platform/product/clipplaces.h"
#include "platform/qmx/clip/qmxclipreader.h"
#include "platform/qmx/clip/qmxclipstill.h"
#include "platform/qmx/core/qmxenvironment.h"
#include "platform/qmx/core/qmxplaces.h"

#include <QDateTime>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QJsonArray>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <limits>
#include <mutex>
#include <set>

#include <sys/stat.h>

namespace {
constexpr qsizetype mostOfAPage = 1000;

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

struct Listed
{
    int index;
    QString name;
    QString path;
    int frames;
    bool isClosed;
    qint64 recordedAt; ///< ns since 1970
    struct stat file
    {};
    double seconds = 0; ///< asked for only when the list is sorted by it
};

void ask(Listed &clip)
{
    stat(QFile::encodeName(clip.path).constData(), &clip.file);
}

QJsonObject listedObject(const Listed &clip)
{
    return {{"index", clip.index},
            {"name", clip.name},
            {"frames", clip.frames},
            {"grows", !clip.isClosed && QmxClipReader::isBeingRecorded(clip.path)},
            {"bytes", qint64(clip.file.st_size)},
            {"date", clipDate(QDateTime::fromSecsSinceEpoch(clip.file.st_mtim.tv_sec))},
            {"is_protected", (clip.file.st_mode & S_IWUSR) == 0}};
}

/// Lengths in time of clips that have been asked for: a file that has not changed is not read again.
class Lengths
{
public:
    double seconds(const Listed &clip)
    {
        const std::lock_guard lock(_mutex);
        const QByteArray key = clip.path.toUtf8() + '\0' + QByteArray::number(qint64(clip.file.st_size)) +
                               '.' + QByteArray::number(qint64(clip.file.st_mtim.tv_sec));
        if (const auto known = _known.constFind(key); known != _known.constEnd()) return *known;
        QmxClipInfo info;
        const bool isRead = !QmxClipReader::probe(clip.path, info).isError();
        const double rate = isRead ? info.image.frameRate().toDouble() : 0;
        const double seconds = rate > 0 ? double(clip.frames) / rate : 0;
        if (_known.size() >= most) _known.clear();
        _known.insert(key, seconds);
        return seconds;
    }

private:
    static constexpr qsizetype most = 20000;
    std::mutex _mutex;
    QHash<QByteArray, double> _known;
};

std::optional<qsizetype> numberIn(const HttpCall &call, const char *name, qsizetype otherwise, qsizetype most)
{
    const QString text = call.query.value(QLatin1String(name));
    if (text.isEmpty()) return otherwise;
    bool isNumber = false;
    const qsizetype value = text.toLongLong(&isNumber);
    return isNumber && value >= 0 && value <= most ? std::optional(value) : std::nullopt;
}

/// What a list can be sorted by.
struct SortRow
{
    const char *name;
    bool (*isBefore)(const Listed &a, const Listed &b);
    bool needsSize = false;
    bool needsSeconds = false;
};
constexpr SortRow sortRows[] = {
    {"index", [](const Listed &a, const Listed &b) { return a.index < b.index; }},
    {"name", [](const Listed &a, const Listed &b) { return a.name < b.name; }},
    {"frames", [](const Listed &a, const Listed &b) { return a.frames < b.frames; }},
    {"date", [](const Listed &a, const Listed &b) { return a.recordedAt < b.recordedAt; }},
    {"duration", [](const Listed &a, const Listed &b) { return a.seconds < b.seconds; }, true, true},
    {"size", [](const Listed &a, const Listed &b) { return a.file.st_size < b.file.st_size; }, true},
};

/// The order that is asked for; null when there is no such.
const SortRow *orderOf(const QString &sort)
{
    if (sort.isEmpty()) return sortRows;
    const auto *row = std::find_if(std::begin(sortRows), std::end(sortRows),
                                   [&sort](const SortRow &one) { return sort == QLatin1String(one.name); });
    return row == std::end(sortRows) ? nullptr : row;
}

/// All that are asked for, in their order, with what has to be known for that.
std::vector<Listed> sorted(Control &control, const QString &filter, const SortRow &order,
                           std::list<Clip> &clips)
{
    static Lengths lengths;
    ClipFinder finder(&control.recorder().config());
    std::vector<Listed> all;
    clips = finder.findClips(true, false, true);
    int index = 0;
    for (const Clip &clip : clips) {
        const QString name = QString::fromStdString(clip.getName());
        if (name.contains(filter, Qt::CaseInsensitive)) {
            all.push_back({index,
                           name,
                           QString::fromStdString(clip.getPath()),
                           clip.frames(),
                           clip.isClosed(),
                           clip.getRecordedAt(),
                           {},
                           0});
            if (order.needsSize) ask(all.back());
            if (order.needsSeconds) all.back().seconds = lengths.seconds(all.back());
        }
        ++index;
    }
    std::stable_sort(all.begin(), all.end(), order.isBefore);
    return all;
}

/// Which of these clips of the active medium lie on the second one as well.
class SecondCopies
{
public:
    SecondCopies(Control &control, const std::list<Clip> &clips)
        : _mirror(control.recorder().text(eParam_MirrorMediaPath)),
          _frames(askSecondPlaces(control.recorder().text(eParam_ActiveMediaPath).toStdString(),
                                  _mirror.toStdString(), clips, control.recorder().environment()))
    {}
    void tell(const QString &name, QJsonObject &object) const
    {
        if (const auto copy = _frames.find(name.toStdString()); copy != _frames.end())
            object["second_copy"] = QJsonObject{{"path", _mirror}, {"frames", copy->second}};
    }

private:
    const QString _mirror;
    const std::map<std::string, int> _frames;
};

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
    struct stat status = {};
    if (path.isEmpty() || lstat(QFile::encodeName(path).constData(), &status) != 0 ||
        !S_ISREG(status.st_mode))
        return {};
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
    FilePart part{path, 0, qint64(status.st_size)};
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

void getClips(Panel &panel, const HttpCall &call, Respond respond)
{
    const auto offset = numberIn(call, "offset", 0, std::numeric_limits<int>::max());
    const auto limit = numberIn(call, "limit", mostOfAPage, mostOfAPage);
    const SortRow *order = orderOf(call.query.value("sort"));
    const QString direction = call.query.value("order", "asc");
    if (!offset || !limit || !order ||
        (direction != QLatin1String("asc") && direction != QLatin1String("desc")))
        return respond(
            problemReply(400, "wrong_argument", "the list cannot be given like that",
                         "offset from 0, limit to 1000, sort index, name, frames, date, duration or size, "
                         "order asc or desc"));
    onWorker(panel, respond, [=, filter = call.query.value("filter")](Control &control) {
        std::list<Clip> clips;
        std::vector<Listed> all = sorted(control, filter, *order, clips);
        if (direction == QLatin1String("desc")) std::reverse(all.begin(), all.end());
        const QString path = control.recorder().text(eParam_ActiveMediaPath);
        const auto first = all.begin() + std::min(*offset, qsizetype(all.size()));
        std::vector<Listed> shown(first, first + std::min(*limit, qsizetype(all.end() - first)));
        std::set<std::string> names;
        for (const Listed &clip : shown)
            names.insert(clip.name.toStdString());
        clips.remove_if([&names](const Clip &clip) { return !names.contains(clip.getName()); });
        const SecondCopies copies(control, clips);
        QJsonArray page;
        for (Listed &clip : shown) {
            if (!order->needsSize) ask(clip);
            QJsonObject object = listedObject(clip);
            copies.tell(clip.name, object);
            page.append(object);
        }
        return jsonReply(
            {{"path", path}, {"total", qint64(all.size())}, {"offset", *offset}, {"clips", page}});
    });
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
        const QString path = pathOf(control, name.left(name.lastIndexOf('.')) + ".mp4");
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
        QFile file(places->thumbnails + folder.mid(folder.lastIndexOf('/')) + '/' + name + ".jpg");
        constexpr qint64 largest = 1024 * 1024;
        if (!isFileName(name) || !folder.contains('/') || !file.open(QIODevice::ReadOnly) ||
            file.size() > largest)
            return problemReply(404, "no_thumbnail",
                                QStringLiteral("there is no picture of %1 yet").arg(name));
        HttpReply reply;
        reply.type = "image/jpeg";
        reply.body = file.readAll();
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
