// SPDX-License-Identifier: GPL-3.0-or-later
#include "companions/panel/fleet.h"

#include "companions/panel/access.h"
#include "companions/panel/fleetprobe.h"
#include "platform/product/programtext.h"
#include "platform/qmx/core/qmxchannel.h"
#include "platform/qmx/core/qmxenvironment.h"
#include "platform/qmx/core/qmxloglevel.h"
#include "platform/qmx/core/qmxplaces.h"
#include "platform/qmx/core/qmxsafefile.h"
#include "platform/store/config.h"
#include "platform/store/redisbackend.h"
#include "platform/store/redisfleet.h"

#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QUrl>

#include <algorithm>
#include <array>

#include <unistd.h>

namespace {
constexpr const char *module = "fleet";
constexpr qint64 lookEvery = 5 * QmxClock::nsPerSecond;
constexpr std::chrono::seconds announcedFor(15);
constexpr qsizetype mostMachines = 128;
constexpr qsizetype longestName = 64;
constexpr auto overTls = "https://";

QString keyFile()
{
    return QmxPlaces().settings + "/fleet.key";
}

std::chrono::seconds wallTime()
{
    const std::chrono::nanoseconds now(QmxEnvironment::current().clock->wallTime());
    return std::chrono::duration_cast<std::chrono::seconds>(now);
}

QString lineOf(const QString &path)
{
    // What is sent there has a token with it: an address that somebody else has put there is none.
    return QString::fromUtf8(QmxSafeFile::line(path, QmxSafeFile::Writer::Trusted));
}

/// "HOST:PORT", "https://HOST:PORT"; false when it is neither.
bool parsePlace(QString text, FleetMachine &machine)
{
    machine.isTls = text.startsWith(QLatin1String(overTls));
    text.remove(0, machine.isTls ? qsizetype(qstrlen(overTls)) : 0);
    const qsizetype colon = text.lastIndexOf(':');
    bool isNumber = false;
    machine.port = text.mid(colon + 1).toUShort(&isNumber);
    machine.host = text.left(colon).remove('[').remove(']');
    return colon > 0 && isNumber && machine.port > 0 && !machine.host.contains('/');
}

bool isKnown(const QList<FleetMachine> &machines, const QString &name)
{
    return std::any_of(machines.begin(), machines.end(),
                       [&name](const FleetMachine &one) { return one.name == name; });
}

bool isName(const QString &name)
{
    return !name.isEmpty() && !name.contains('/') && name.size() <= longestName;
}

QString ownName()
{
    if (const auto address = redisAddressOfStore()) return QString::fromStdString(address->recorder);
    std::array<char, 256> name{};
    return gethostname(name.data(), name.size() - 1) == 0 ? QString::fromLocal8Bit(name.data()) : QString();
}
} // namespace

Fleet::Fleet(const PanelOptions &options) : _options(options), _key(keyFile())
{
    QString problem;
    const FleetKey again(keyFile(), &problem);
    if (!problem.isEmpty())
        qmxLogOutput(QmxLogLevel::Warning, module, __LINE__, "No fleet: %s\n", qUtf8Printable(problem));
    if (!_key.isSet()) return;
    const QmxError error = QmxEnvironment::current().threads->start(
        QStringLiteral("panel-fleet"), [this] { run(); }, _thread);
    if (error.isError()) qmxLogText(QmxLogLevel::Error, module, __LINE__, error.toString());
}

Fleet::~Fleet()
{
    _stop = true;
    _interrupt.interrupt();
    if (_thread.joinable()) _thread.join();
}

QList<FleetMachine> Fleet::machines() const
{
    const std::lock_guard lock(_mutex);
    return _machines;
}

QJsonObject Fleet::self()
{
    QJsonArray channels;
    for (const int channel : QmxChannel::all())
        channels.append(QJsonObject{
            {"channel", channel}, {"panel", !lineOf(QmxPlaces::ofChannel(channel).panelAddress).isEmpty()}});
    return {{"name", ownName()}, {"version", recorderVersion()}, {"channels", channels}};
}

/// A line of the file is "NAME HOST:PORT"; what is in it holds over what the store says.
QList<FleetMachine> Fleet::find() const
{
    QList<FleetMachine> found;
    QFile file(QmxPlaces().settings + "/fleet");
    if (file.open(QIODevice::ReadOnly))
        for (const QByteArray &bytes : file.readAll().split('\n')) {
            const QStringList words = QString::fromUtf8(bytes).simplified().split(' ');
            if (words[0].isEmpty() || words[0].startsWith('#') || found.size() >= mostMachines) continue;
            FleetMachine machine;
            machine.name = words[0].left(longestName).replace('/', '_');
            machine.from = "file";
            const bool isLine = words.size() == 2 && isName(words[0]) && parsePlace(words[1], machine);
            if (!isLine || isKnown(found, machine.name)) {
                machine.port = 0;
                machine.state = "wrong";
                machine.problem = isLine ? "the file has this name twice" : "its line is not NAME HOST:PORT";
                if (isKnown(found, machine.name)) machine.name += " (again)"; // it is not that one's
            }
            found.append(machine);
        }
    const auto address = redisAddressOfStore();
    std::vector<RedisFleet::Member> members;
    if (address) RedisFleet(*address, RedisBackend::standardPasswordFile()).list(members);
    for (const RedisFleet::Member &member : members) {
        FleetMachine machine;
        machine.name = QString::fromStdString(member.name);
        machine.from = "store";
        if (member.name != address->recorder && !isKnown(found, machine.name) && isName(machine.name) &&
            parsePlace(QString::fromStdString(member.panel), machine) && found.size() < mostMachines)
            found.append(machine);
    }
    return found;
}

void Fleet::announce()
{
    const auto store = _options.isLoopback() ? std::nullopt : redisAddressOfStore();
    if (!store) return;
    RedisFleet fleet(*store, RedisBackend::standardPasswordFile());
    std::string host = _options.address.toStdString();
    // (One that listens everywhere is where the server sees it.)
    const bool isEverywhere =
        _options.address == QLatin1String("0.0.0.0") || _options.address == QLatin1String("::");
    if (isEverywhere && !fleet.ownAddress(host).isDone()) return;
    fleet.announce(store->recorder,
                   (_options.hasTls() ? overTls : "") + host + ':' + std::to_string(_options.port),
                   announcedFor);
}

/// What a machine has proved before stands while it is silent: it may be asked again before it is looked at.
void Fleet::keepProved(QList<FleetMachine> &found) const
{
    for (FleetMachine &machine : found)
        for (const FleetMachine &before : _machines) {
            if (before.name != machine.name || before.host != machine.host || before.port != machine.port)
                continue;
            if (machine.state != QLatin1String("silent")) continue;
            machine.certificate = before.certificate;
            machine.address = machine.address.isEmpty() ? before.address : machine.address;
        }
}

void Fleet::run()
{
    const auto clock = QmxEnvironment::current().clock;
    while (!_stop) {
        announce();
        FleetProbe probe(_key, wallTime());
        QList<FleetMachine> found = probe.ask(find());
        {
            const std::lock_guard lock(_mutex);
            keepProved(found);
            _machines = found;
        }
        clock->sleepUntil(clock->now() + lookEvery, &_interrupt);
    }
}

bool Fleet::verify(const HttpCall &call, QByteArray &proof)
{
    return _key.verify(call, wallTime(), proof);
}

std::optional<HttpReply> Fleet::resolve(const QString &kind, const QString &name, const HttpCall &call,
                                        const QByteArray &target, PassedOn &to) const
{
    to.target = target;
    to.caller = QUrl::toPercentEncoding(call.caller.name);
    to.role = roleName(call.caller.role).toLatin1();
    if (kind == QLatin1String("channels")) {
        const auto channel = QmxPlaces::channelNamed(name);
        if (!channel || !QmxChannel::exists(*channel))
            return problemReply(404, "no_channel",
                                QStringLiteral("there is no channel %1").arg(name.left(64)));
        const QmxPlaces places = QmxPlaces::ofChannel(*channel);
        const QUrl address(lineOf(places.panelAddress));
        to.name = QStringLiteral("channel %1").arg(*channel);
        to.host = address.host();
        to.address = to.host;
        to.isTls = address.scheme() == QLatin1String("https");
        to.port = quint16(address.port(0));
        to.authorization = "Bearer " + lineOf(places.panelToken).toLatin1();
        if (to.port != 0 && to.authorization.size() > qsizetype(sizeof "Bearer ")) return {};
        return problemReply(502, "silent",
                            QStringLiteral("the panel of channel %1 does not run").arg(*channel),
                            QStringLiteral("start it: systemctl start xppanel@%1").arg(*channel));
    }
    for (const FleetMachine &machine : machines())
        if (machine.name == name) return passTo(machine, call, to);
    return problemReply(
        404, "no_machine", QStringLiteral("no machine of the fleet is called %1").arg(name.left(64)),
        hasKey() ? QStringLiteral("GET /api/v1/fleet lists those there are")
                 : QStringLiteral("this one is in no fleet: it has no key in /etc/xp/fleet.key"));
}

std::optional<HttpReply> Fleet::passTo(const FleetMachine &machine, const HttpCall &call, PassedOn &to) const
{
    // Nothing is said to one of which nobody knows who it is, or where. Of one that is silent nothing is
    // asked, either, until it has been looked at again: a browser has few connections, and those that wait
    // there would hold up what it asks of all others. What shall be done is tried all the same.
    const bool isNobody = machine.state == QLatin1String("not_proven") ||
                          machine.state == QLatin1String("wrong") ||
                          (machine.state == QLatin1String("silent") && call.method == "GET");
    if (isNobody || machine.address.isEmpty() || (machine.isTls && machine.certificate.isEmpty()))
        return problemReply(502, machine.state,
                            QStringLiteral("%1 (%2, port %3): %4")
                                .arg(machine.name, machine.host)
                                .arg(machine.port)
                                .arg(machine.problem),
                            "look at its line in /etc/xp/fleet, and whether its panel runs");
    const FleetKey::Signature signature =
        _key.sign(call.method, to.target, to.caller, to.role, call.body, machine.certificate, wallTime());
    to.name = machine.name;
    to.host = machine.host;
    to.address = machine.address;
    to.port = machine.port;
    to.isTls = machine.isTls;
    to.certificate = machine.certificate;
    to.authorization = signature.authorization;
    to.proof = _key.proof(signature.nonce, machine.certificate);
    return {};
}
