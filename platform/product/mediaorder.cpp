// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/product/mediaorder.h"

#include "platform/product/clipscan.h"
#include "platform/qmx/core/qmxprintable.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace {

constexpr qsizetype longestText = 1000;
const char *const verbs[] = {"copy",   "delete", "protect", "unprotect",
                             "rename", "verify", "export",  "cancel"};

QJsonDocument document(const std::string &text)
{
    return QJsonDocument::fromJson(QByteArray::fromStdString(text));
}
std::string compact(const QJsonDocument &json)
{
    return json.toJson(QJsonDocument::Compact).toStdString();
}
std::string word(const QJsonObject &object, const char *field)
{
    return object.value(QLatin1String(field)).toString().toStdString();
}
QString shown(const std::string &text)
{
    return QString::fromStdString(text);
}

std::string whyNoExport(const MediaOrder &order)
{
    if (order.entries.empty()) return "what shall be exported is missing";
    if (!order.to.starts_with('/') || !isClipName(order.to.substr(order.to.rfind('/') + 1)))
        return "'" + order.to + "' is no path of a clip that could be made";
    if (order.proxy && !order.to.ends_with(".mp4")) return "a proxy is an MP4 file: its name ends in .mp4";
    if (!order.proxy && !order.to.ends_with(".mov"))
        return "a clip is a QuickTime file: its name ends in .mov";
    return {};
}

std::string whyNonsense(const MediaOrder &order)
{
    if (order.verb == "schedule" || order.verb == "unschedule") return {}; // the schedule itself looks
    bool known = false;
    for (const char *verb : verbs)
        known = known || order.verb == verb;
    if (!known)
        return "'" + order.verb +
               "' cannot be done with a clip; copy, delete, protect, unprotect, rename, verify and export "
               "can";
    // A name must not lead out of its medium.
    if (order.verb == "cancel") return {};
    if (order.verb == "export") return whyNoExport(order);
    const bool isAll = order.verb == "verify" && order.clip.empty();
    if (!isAll && (!isClipName(order.clip) || order.clip.find('/') != std::string::npos))
        return "'" + order.clip + "' is no name of a clip";
    if (order.verb == "copy" && order.to.empty()) return "where the copy shall go is missing";
    if (order.verb == "copy" && order.to == order.from)
        return "a copy goes to another medium, not to " + order.from;
    if (order.verb == "rename" && (!isClipName(order.to) || order.to.find('/') != std::string::npos))
        return "'" + order.to + "' is no name for a clip";
    return {};
}

} // namespace

std::string MediaOrder::print() const
{
    QJsonObject object{
        {"id", shown(id)}, {"verb", shown(verb)}, {"clip", shown(clip)}, {"from", shown(from)}};
    if (!to.empty()) object["to"] = shown(to);
    if (everywhere) object["everywhere"] = true;
    if (!entries.empty()) object["entries"] = shown(entries);
    if (proxy) object["proxy"] = true;
    if (burn) object["burn"] = true;
    return compact(QJsonDocument(object));
}

std::optional<MediaOrder> MediaOrder::parse(const std::string &text, std::string &id, std::string &problem)
{
    const QJsonDocument json = document(text);
    if (!json.isObject()) {
        problem = "the order is no JSON object";
        return std::nullopt;
    }
    const QJsonObject object = json.object();
    MediaOrder order{word(object, "id"),           word(object, "verb"),
                     word(object, "clip"),         word(object, "from"),
                     word(object, "to"),           object.value("everywhere").toBool(),
                     word(object, "entries"),      object.value("proxy").toBool(),
                     object.value("burn").toBool()};
    // Whoever sent it finds the answer by this; what he could not read there he gets no answer to.
    if (const QString given = shown(order.id);
        given.size() > MediaOrder::longestId || qmxPrintable(given) != given) {
        id.clear();
        problem = QStringLiteral("the order's id has more than %1 characters, or some that cannot be printed")
                      .arg(MediaOrder::longestId)
                      .toStdString();
        return std::nullopt;
    }
    id = order.id;
    problem = whyNonsense(order);
    if (!problem.empty()) return std::nullopt;
    return order;
}

std::string MediaOrderState::print() const
{
    QJsonObject object{{"id", shown(id)},
                       {"state", shown(state)},
                       {"percent", percent},
                       {"text", qmxPrintable(shown(text), longestText)}};
    if (!report.empty()) object["report"] = document(report).object();
    return compact(QJsonDocument(object));
}

std::optional<MediaOrderState> MediaOrderState::parse(const std::string &text)
{
    const QJsonDocument json = document(text);
    if (!json.isObject()) return std::nullopt;
    const QJsonObject object = json.object();
    const QJsonObject report = object.value("report").toObject();
    return MediaOrderState{word(object, "id"), word(object, "state"), object.value("percent").toInt(),
                           word(object, "text"),
                           report.isEmpty() ? std::string() : compact(QJsonDocument(report))};
}

std::string MediumReport::print(const std::vector<MediumReport> &media)
{
    QJsonArray array;
    for (const MediumReport &medium : media)
        array.append(QJsonObject{{"path", shown(medium.path)},
                                 {"label", qmxPrintable(shown(medium.label))},
                                 {"state", shown(medium.state)},
                                 {"percent_free", medium.percentFree},
                                 {"bytes_free", double(medium.bytesFree)},
                                 {"bytes_total", double(medium.bytesTotal)},
                                 {"clips", medium.clips},
                                 {"seconds_left", medium.secondsLeft}});
    return compact(QJsonDocument(array));
}

std::vector<MediumReport> MediumReport::parse(const std::string &text)
{
    std::vector<MediumReport> media;
    for (const auto &value : document(text).array()) {
        const QJsonObject object = value.toObject();
        media.push_back({word(object, "path"), word(object, "label"), word(object, "state"),
                         object.value("percent_free").toDouble(),
                         static_cast<long long>(object.value("bytes_free").toDouble()),
                         static_cast<long long>(object.value("bytes_total").toDouble()),
                         object.value("clips").toInt(), object.value("seconds_left").toInt(-1)});
    }
    return media;
}
