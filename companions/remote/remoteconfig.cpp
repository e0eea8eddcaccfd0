// SPDX-License-Identifier: GPL-3.0-or-later
#include "companions/remote/remoteconfig.h"

#include "platform/qmx/core/qmxplaces.h"

#include <QFile>
#include <QRegularExpression>

#include <arpa/inet.h>

namespace {
constexpr qint64 mostBytes = 64 * 1024;
constexpr int mostProblems = 20;
constexpr const char *loopback = "127.0.0.1";

using Protocol = RemotePortConfig::Protocol;

struct ProtocolRow
{
    const char *key;
    Protocol protocol;
    const char *transport; ///< of its network ports
    bool hasTerminals;
    const char *places;
};
constexpr ProtocolRow protocolRows[] = {
    {"ninepin", Protocol::Ninepin, "tcp", true, "a terminal such as /dev/ttyUSB0, or tcp:9901"},
    {"line", Protocol::Line, "tcp", false, "tcp:9993"},
    {"osc", Protocol::Osc, "udp", false, "udp:9000"},
};

bool parseNumber(const QString &text, int from, int to, int base, int &number)
{
    bool ok = false;
    const int value = text.toInt(&ok, base);
    if (!ok || value < from || value > to) return false;
    number = value;
    return true;
}

bool parseRecord(NinepinOptions &options, const QString &value)
{
    options.mayRecord = value == QLatin1String("on");
    return options.mayRecord || value == QLatin1String("off");
}

bool parseDelay(NinepinOptions &options, const QString &value)
{
    return parseNumber(value, 1, 50, 10, options.editDelay);
}

bool parsePreroll(NinepinOptions &options, const QString &value)
{
    int seconds = 0;
    if (!parseNumber(value, 0, 59, 10, seconds)) return false;
    options.preroll = std::chrono::seconds(seconds);
    return true;
}

bool parseType(std::uint16_t &type, const QString &value)
{
    int number = 0;
    if (!parseNumber(value, 0, 0xFFFF, 16, number)) return false;
    type = std::uint16_t(number);
    return true;
}

bool parseType525(NinepinOptions &options, const QString &value)
{
    return parseType(options.deviceType525, value);
}

bool parseType625(NinepinOptions &options, const QString &value)
{
    return parseType(options.deviceType625, value);
}

struct OptionRow
{
    const char *key;
    const char *values;
    bool (*parse)(NinepinOptions &options, const QString &value);
};
constexpr OptionRow optionRows[] = {
    {"record", "on or off", parseRecord},
    {"edit_delay", "a number of frames from 1 to 50", parseDelay},
    {"preroll", "a number of seconds from 0 to 59", parsePreroll},
    {"type_525", "four hexadecimal digits", parseType525},
    {"type_625", "four hexadecimal digits", parseType625},
};

/// Empty: it is good; else what to write.
QString parseOption(RemotePortConfig &port, const QString &word)
{
    const QString key = word.section(QLatin1Char('='), 0, 0);
    if (key == QLatin1String("verbs")) {
        const auto role = roleNamed(word.section(QLatin1Char('='), 1));
        if (!role) return QStringLiteral("verbs takes view, operate or engineer");
        port.verbs = *role;
        return {};
    }
    if (port.protocol != RemotePortConfig::Protocol::Ninepin)
        return QStringLiteral("the option of a port of this kind is verbs");
    QStringList keys{QStringLiteral("verbs")};
    NinepinOptions &options = port.ninepin;
    for (const OptionRow &row : optionRows) {
        keys.append(QLatin1String(row.key));
        if (key != keys.last()) continue;
        if (row.parse(options, word.section(QLatin1Char('='), 1))) return {};
        return QStringLiteral("%1 takes %2").arg(key, QLatin1String(row.values));
    }
    keys.append(QStringLiteral("channel"));
    return QStringLiteral("options of a 9-pin port are %1").arg(keys.join(QLatin1String(", ")));
}

/// Takes "channel=2" out of the words, which every kind of port may have.
QString parseChannel(RemotePortConfig &port, QStringList &words)
{
    const QString key = QStringLiteral("channel=");
    for (const QString &word : words.filter(QRegularExpression("^" + key))) {
        const auto channel = QmxPlaces::channelNamed(word.mid(key.size()));
        if (!channel)
            return QStringLiteral("channel takes a number from 1 to %1").arg(QmxPlaces::mostChannels);
        port.channel = *channel;
        words.removeAll(word);
    }
    return {};
}

bool isAddress(const QString &host)
{
    in6_addr address;
    const QByteArray text = host.toLatin1();
    return inet_pton(AF_INET, text.constData(), &address) == 1 ||
           inet_pton(AF_INET6, text.constData(), &address) == 1;
}

/// "tcp:9901" or "tcp:ADDRESS:9901", "tcp:[ADDRESS]:9901".
bool parsePlace(RemotePortConfig &port, const ProtocolRow &row)
{
    if (row.hasTerminals && port.place.startsWith(QLatin1String("/dev/"))) {
        port.device = port.place;
        return !port.place.contains(QLatin1String(".."));
    }
    const QString transport = QLatin1String(row.transport) + QLatin1Char(':');
    if (!port.place.startsWith(transport)) return false;
    const QString rest = port.place.mid(transport.size());
    const qsizetype colon = rest.lastIndexOf(QLatin1Char(':'));
    int number = 0;
    if (!parseNumber(rest.mid(colon + 1), 1, 0xFFFF, 10, number)) return false;
    port.port = quint16(number);
    port.host = colon < 0 ? QString::fromLatin1(loopback) : rest.left(colon);
    if (port.host.startsWith(QLatin1Char('[')) && port.host.endsWith(QLatin1Char(']')))
        port.host = port.host.mid(1, port.host.size() - 2);
    return isAddress(port.host);
}

QString parsePort(RemoteConfig &config, const QString &key, const QString &value)
{
    const auto *row = std::find_if(std::begin(protocolRows), std::end(protocolRows),
                                   [&key](const ProtocolRow &one) { return key == QLatin1String(one.key); });
    if (row == std::end(protocolRows)) return QStringLiteral("ports are ninepin, line and osc");
    QStringList words = value.split(QLatin1Char(' '), Qt::SkipEmptyParts);
    RemotePortConfig port;
    port.protocol = row->protocol;
    port.place = words.takeFirst();
    if (!parsePlace(port, *row))
        return QStringLiteral("%1 takes %2; before the number may stand the numeric address to listen on")
            .arg(key, QLatin1String(row->places));
    if (QString problem = parseChannel(port, words); !problem.isEmpty()) return problem;
    for (const QString &word : words)
        if (QString problem = parseOption(port, word); !problem.isEmpty()) return problem;
    for (const RemotePortConfig &other : config.ports)
        if (other.place == port.place) return QStringLiteral("%1 is there already").arg(port.place);
    if (config.ports.size() >= RemoteConfig::mostPorts)
        return QStringLiteral("there are %1 ports already, and no more").arg(RemoteConfig::mostPorts);
    config.ports.append(port);
    return {};
}

QString parseLine(RemoteConfig &config, QString &section, const QString &line)
{
    if (line.startsWith(QLatin1Char('['))) {
        section = line;
        return line == QLatin1String("[ports]") ? QString() : QStringLiteral("the only section is [ports]");
    }
    const qsizetype equals = line.indexOf(QLatin1Char('='));
    const QString value = equals < 0 ? QString() : line.mid(equals + 1).simplified();
    if (equals < 1 || value.isEmpty()) return QStringLiteral("write PROTOCOL = PLACE");
    if (section != QLatin1String("[ports]")) return QStringLiteral("put it under [ports]");
    return parsePort(config, line.left(equals).trimmed(), value);
}
} // namespace

RemoteConfig RemoteConfig::parse(const QByteArray &text)
{
    RemoteConfig config;
    QString section;
    int number = 0;
    for (const QByteArray &bytes : text.left(mostBytes).split('\n')) {
        ++number;
        const QString line = QString::fromUtf8(bytes).trimmed();
        if (line.isEmpty() || line.startsWith(QLatin1Char(';')) || line.startsWith(QLatin1Char('#')))
            continue;
        const QString problem = parseLine(config, section, line);
        if (!problem.isEmpty() && config.problems.size() < mostProblems)
            config.problems.append(QStringLiteral("line %1: %2").arg(number).arg(problem));
    }
    return config;
}

RemoteConfig RemoteConfig::load(const QString &path)
{
    QFile file(path);
    if (file.open(QIODevice::ReadOnly)) return parse(file.read(mostBytes));
    RemoteConfig config;
    config.problems.append(file.errorString());
    return config;
}
