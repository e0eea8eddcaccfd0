// SPDX-License-Identifier: GPL-3.0-or-later
#include "companions/remote/text/osclanguage.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>
#include <type_traits>
#include <utility>

#include <lo/lo.h>

namespace {
constexpr const char *root = "/xp/";
constexpr int mostRate = 25;
constexpr std::size_t bundleHead = 16; ///< "#bundle" and a time
constexpr std::size_t longestPath = 256;

struct FreeMessage
{
    void operator()(lo_message message) const { lo_message_free(message); }
};
using Message = std::unique_ptr<std::remove_pointer_t<lo_message>, FreeMessage>;

/// A terminated text that fills up to a multiple of four, as every text in a packet; nothing when there is
/// none.
std::optional<QByteArray> textAt(std::span<const std::uint8_t> bytes)
{
    const auto end = std::find(bytes.begin(), bytes.end(), 0);
    if (end == bytes.end()) return std::nullopt;
    return QByteArray(reinterpret_cast<const char *>(bytes.data()), end - bytes.begin());
}

/// What stands in a packet stands on multiples of four, whatever its type wants.
template <typename T>
T readAt(const lo_arg *value)
{
    T out;
    std::memcpy(&out, value, sizeof out);
    return out;
}

/// The value of an argument as text; nothing for types that mean nothing here.
std::optional<QString> valueOf(char type, const lo_arg *value)
{
    const auto number = [](double read) {
        return std::isfinite(read) ? std::optional(QString::number(read)) : std::nullopt;
    };
    switch (type) {
    case 'i':
        return QString::number(readAt<qint32>(value));
    case 'h':
        return QString::number(readAt<qint64>(value));
    case 'f':
        return number(double(readAt<float>(value)));
    case 'd':
        return number(readAt<double>(value));
    case 's':
    case 'S':
        return QString::fromUtf8(reinterpret_cast<const char *>(value));
    case 'T':
        return QStringLiteral("1");
    case 'F':
        return QStringLiteral("0");
    default:
        return std::nullopt;
    }
}

std::optional<QStringList> valuesOf(lo_message message)
{
    QStringList values;
    const char *types = lo_message_get_types(message);
    lo_arg **arguments = lo_message_get_argv(message);
    for (int i = 0; i < lo_message_get_argc(message); ++i) {
        const auto value = valueOf(types[i], arguments[i]);
        if (!value) return std::nullopt;
        values.append(*value);
    }
    return values;
}

bool readSubscription(const QStringList &values, OscLanguage::Asked &asked)
{
    bool isNumber = values.isEmpty();
    const double rate = values.isEmpty() ? mostRate : values.first().toDouble(&isNumber);
    if (!isNumber || values.size() > 1 || !(rate > 0)) return false;
    asked.kind = OscLanguage::Asked::Subscribe;
    asked.rate = std::clamp(int(std::ceil(std::min(rate, double(mostRate)))), 1, mostRate);
    return true;
}

/// Arguments stand in the order of the verb's row.
bool readVerb(const QString &verb, const QStringList &values, OscLanguage::Asked &asked)
{
    const VerbRow *row = findVerb(verb);
    if (!row || std::size_t(values.size()) > row->arguments.size()) return false;
    asked.verb = verb;
    for (qsizetype i = 0; i < values.size(); ++i) {
        const VerbArgument &argument = row->arguments[std::size_t(i)];
        QString value = values[i];
        // Fader boxes send every number as one with a fraction.
        if (argument.type != VerbArgument::Type::Number && value.endsWith(QLatin1String(".0"))) value.chop(2);
        asked.arguments[QLatin1String(argument.name)] = value;
    }
    Request request;
    request.verb = verb;
    request.arguments = asked.arguments;
    return !wrongArguments(*row, request);
}

bool parseMessage(std::span<const std::uint8_t> bytes, std::vector<OscLanguage::Asked> &asked)
{
    const auto path = textAt(bytes.first(std::min(bytes.size(), longestPath)));
    if (!path || !path->startsWith(root)) return false;
    // The library reads in place: a copy of its own, aligned.
    QByteArray copy(reinterpret_cast<const char *>(bytes.data()), qsizetype(bytes.size()));
    int error = 0;
    const Message message(lo_message_deserialise(copy.data(), size_t(copy.size()), &error));
    if (!message) return false;
    const auto values = valuesOf(message.get());
    if (!values) return false;
    OscLanguage::Asked one;
    const QString word = QString::fromUtf8(path->mid(qsizetype(std::strlen(root))));
    if (word == QLatin1String("subscribe")) {
        if (!readSubscription(*values, one)) return false;
    } else if (word == QLatin1String("unsubscribe")) {
        one.kind = OscLanguage::Asked::Unsubscribe;
    } else if (!readVerb(word, *values, one)) {
        return false;
    }
    asked.push_back(std::move(one));
    return true;
}

std::size_t sizeAt(std::span<const std::uint8_t> bytes)
{
    return std::size_t(bytes[0]) << 24 | std::size_t(bytes[1]) << 16 | std::size_t(bytes[2]) << 8 | bytes[3];
}

bool parsePart(std::span<const std::uint8_t> bytes, int depth, std::vector<OscLanguage::Asked> &asked)
{
    constexpr char bundle[] = "#bundle"; // with its end
    if (bytes.size() < sizeof bundle || std::memcmp(bytes.data(), bundle, sizeof bundle) != 0)
        return parseMessage(bytes, asked);
    if (depth >= OscLanguage::deepestBundle || bytes.size() < bundleHead) return false;
    for (bytes = bytes.subspan(bundleHead); !bytes.empty();) {
        if (bytes.size() < 4) return false;
        const std::size_t size = sizeAt(bytes);
        if (size > bytes.size() - 4 || size % 4 != 0) return false;
        if (!parsePart(bytes.subspan(4, size), depth + 1, asked)) return false;
        bytes = bytes.subspan(4 + size);
    }
    return true;
}

QByteArray serialised(const char *path, lo_message message)
{
    size_t size = lo_message_length(message, path);
    QByteArray bytes(qsizetype(size), '\0');
    lo_message_serialise(message, path, bytes.data(), &size);
    return bytes;
}

void addValue(lo_message message, const QJsonValue &value)
{
    switch (value.type()) {
    case QJsonValue::Bool:
        lo_message_add_int32(message, value.toBool() ? 1 : 0);
        break;
    case QJsonValue::Double:
        if (value.toDouble() == std::floor(value.toDouble()) && std::fabs(value.toDouble()) < 2e9)
            lo_message_add_int32(message, value.toInt());
        else
            lo_message_add_float(message, float(value.toDouble()));
        break;
    case QJsonValue::String:
        lo_message_add_string(message, value.toString().toUtf8().constData());
        break;
    default:
        lo_message_add_string(message, QJsonDocument(value.isArray() ? QJsonDocument(value.toArray())
                                                                     : QJsonDocument(value.toObject()))
                                           .toJson(QJsonDocument::Compact)
                                           .constData());
    }
}

void appendSized(QByteArray &bundle, const QByteArray &part)
{
    const auto size = quint32(part.size());
    for (int shift = 24; shift >= 0; shift -= 8)
        bundle.append(char(size >> shift & 0xFF));
    bundle.append(part);
}
} // namespace

namespace OscLanguage {

std::optional<std::vector<Asked>> parse(std::span<const std::uint8_t> packet)
{
    std::vector<Asked> asked;
    if (qsizetype(packet.size()) > longestPacket || packet.size() < 4 || packet.size() % 4 != 0) return {};
    if (!parsePart(packet, 0, asked)) return {};
    return asked;
}

QByteArray state(const QJsonObject &fields)
{
    QByteArray bundle("#bundle\0\0\0\0\0\0\0\0\1", 16); // done at once
    for (auto field = fields.begin(); field != fields.end(); ++field) {
        const Message message(lo_message_new());
        addValue(message.get(), field.value());
        appendSized(bundle, serialised(("/xp/state/" + field.key().toUtf8()).constData(), message.get()));
    }
    return bundle;
}

namespace {
QByteArray ofTexts(const char *path, const QStringList &texts)
{
    const Message message(lo_message_new());
    for (const QString &text : texts)
        lo_message_add_string(message.get(), text.toUtf8().constData());
    return serialised(path, message.get());
}
} // namespace

QByteArray told(const QString &verb, const QString &sentence)
{
    return ofTexts("/xp/told", {verb, sentence});
}

QByteArray refused(const QString &verb, const QString &code, const QString &sentence)
{
    return ofTexts("/xp/refused", {verb, code, sentence});
}

} // namespace OscLanguage
