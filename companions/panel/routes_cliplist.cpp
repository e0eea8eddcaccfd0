// SPDX-License-Identifier: GPL-3.0-or-later
// The list of clips of the active medium: sorted, filtered, in pages.
#include "companions/panel/panel.h"
#include "companions/panel/secondcopies.h"
#include "platform/control/clipdescription.h"
#include "platform/product/clipfinder.h"
#include "platform/qmx/clip/qmxclipreader.h"

#include <QDateTime>
#include <QFile>
#include <QHash>
#include <QJsonArray>
#include <QSet>

#include <algorithm>
#include <limits>
#include <mutex>
#include <optional>
#include <set>

#include <sys/stat.h>

namespace {
constexpr qsizetype mostOfAPage = 1000;

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
    QString proxy;      ///< file name of its proxy; empty: it has none
};

/// What lies beside a clip of its name as its proxy is told with it, not as a clip of its own.
void gatherProxies(std::vector<Listed> &all)
{
    QSet<QString> proxies;
    for (const Listed &clip : all)
        if (clip.name.endsWith(QLatin1String(".mp4"))) proxies.insert(clip.name);
    if (proxies.isEmpty()) return;
    QSet<QString> owned;
    for (Listed &clip : all) {
        const QString proxy = proxyNameOf(clip.name);
        if (proxy == clip.name || !proxies.contains(proxy)) continue;
        clip.proxy = proxy;
        owned.insert(proxy);
    }
    std::erase_if(all, [&owned](const Listed &clip) { return owned.contains(clip.name); });
}

void ask(Listed &clip)
{
    stat(QFile::encodeName(clip.path).constData(), &clip.file);
}

QJsonObject listedObject(const Listed &clip)
{
    QJsonObject object{{"index", clip.index},
                       {"name", clip.name},
                       {"frames", clip.frames},
                       {"grows", !clip.isClosed && QmxClipReader::isBeingRecorded(clip.path)},
                       {"bytes", qint64(clip.file.st_size)},
                       {"date", clipDate(QDateTime::fromSecsSinceEpoch(clip.file.st_mtim.tv_sec))},
                       {"is_protected", (clip.file.st_mode & S_IWUSR) == 0}};
    if (!clip.proxy.isEmpty()) object["proxy"] = clip.proxy;
    return object;
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

/// All that are asked for, in their order, with what has to be known for that. Nothing: the medium does not
/// answer, which is another thing than that it is empty.
std::optional<std::vector<Listed>> sorted(Control &control, const QString &filter, const SortRow &order,
                                          std::list<Clip> &clips)
{
    static Lengths lengths;
    ClipFinder finder(&control.recorder().config());
    std::vector<Listed> all;
    clips = finder.findClips(true, false, true);
    if (!finder.knowsMedium() && !control.recorder().text(eParam_ActiveMediaPath).isEmpty()) return {};
    int index = 0;
    for (const Clip &clip : clips) {
        const QString name = QString::fromStdString(clip.getName());
        all.push_back({index++,
                       name,
                       QString::fromStdString(clip.getPath()),
                       clip.frames(),
                       clip.isClosed(),
                       clip.getRecordedAt(),
                       {},
                       0,
                       {}});
    }
    gatherProxies(all);
    std::erase_if(all,
                  [&filter](const Listed &clip) { return !clip.name.contains(filter, Qt::CaseInsensitive); });
    for (Listed &clip : all) {
        if (order.needsSize) ask(clip);
        if (order.needsSeconds) clip.seconds = lengths.seconds(clip);
    }
    std::stable_sort(all.begin(), all.end(), order.isBefore);
    return all;
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
        std::optional<std::vector<Listed>> listed = sorted(control, filter, *order, clips);
        const QString path = control.recorder().text(eParam_ActiveMediaPath);
        if (!listed)
            return problemReply(503, "no_answer", path + " does not answer",
                                "the list is there when it does");
        std::vector<Listed> &all = *listed;
        if (direction == QLatin1String("desc")) std::reverse(all.begin(), all.end());
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
