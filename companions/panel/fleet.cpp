// SPDX-License-Identifier: GPL-3.0-or-later
#include "companions/panel/fleet.h"

#include "companions/panel/access.h"
#include "platform/product/programtext.h"
#include "platform/qmx/core/qmxchannel.h"
#include "platform/qmx/core/qmxenvironment.h"
#include "platform/qmx/core/qmxloglevel.h"
#include "platform/qmx/core/qmxplaces.h"
#include "platform/store/config.h"
#include "platform/store/redisbackend.h"
#include "platform/store/redisfleet.h"

#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QUrl>

#include <array>

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/http.hpp>

#include <unistd.h>

namespace beast = boost::beast;
namespace http = beast::http;
namespace asio = boost::asio;
using asio::ip::tcp;

namespace {
constexpr const char *module = "fleet";
constexpr qint64 lookEvery = 5 * QmxClock::nsPerSecond;
constexpr std::chrono::seconds announcedFor(15);
constexpr std::chrono::seconds answerWithin{2};
constexpr qsizetype mostMachines = 128;
constexpr auto selfTarget = "/api/v1/fleet/self";

QString keyFile()
{
    return QmxPlaces().settings + "/fleet.key";
}

qint64 wallSeconds()
{
    return QmxEnvironment::current().clock->wallTime() / QmxClock::nsPerSecond;
}

QString lineOf(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readLine()).trimmed() : QString();
}

/// "HOST:PORT"; false when it is none.
bool parsePlace(const QString &text, Fleet::Machine &machine)
{
    const qsizetype colon = text.lastIndexOf(':');
    bool isNumber = false;
    machine.port = text.mid(colon + 1).toUShort(&isNumber);
    machine.host = text.left(colon).remove('[').remove(']');
    return colon > 0 && isNumber && machine.port > 0;
}

bool isName(const QString &name)
{
    return !name.isEmpty() && !name.contains('/') && name.size() <= 64;
}

QString ownName()
{
    if (const auto address = redisAddressOfStore()) return QString::fromStdString(address->recorder);
    std::array<char, 256> name{};
    return gethostname(name.data(), name.size() - 1) == 0 ? QString::fromLocal8Bit(name.data()) : QString();
}

/// Asks one machine who it is.
class Probe : public std::enable_shared_from_this<Probe>
{
public:
    Probe(asio::io_context &io, Fleet::Machine &machine, const FleetKey &key)
        : _stream(io),
          _resolver(io),
          _machine(machine),
          _signature(key.sign("GET", selfTarget, "fleet", "view", {}, wallSeconds())),
          _proof(key.proof(_signature.nonce))
    {
        _machine.state = "silent";
    }

    void start()
    {
        _stream.expires_after(answerWithin);
        _resolver.async_resolve(_machine.host.toStdString(), std::to_string(_machine.port),
                                [self = shared_from_this()](boost::system::error_code error,
                                                            const tcp::resolver::results_type &found) {
                                    if (!error) self->connect(found);
                                });
    }

private:
    void connect(const tcp::resolver::results_type &found)
    {
        _stream.async_connect(
            found, [self = shared_from_this()](boost::system::error_code error, const tcp::endpoint &) {
                if (!error) self->ask();
            });
    }

    void ask()
    {
        _request = {http::verb::get, selfTarget, 11};
        _request.set(http::field::host, _machine.host.toStdString());
        _request.set(http::field::authorization, _signature.authorization.toStdString());
        _request.set(FleetKey::callerHeader, "fleet");
        _request.set(FleetKey::roleHeader, "view");
        _request.keep_alive(false);
        http::async_write(_stream, _request,
                          [self = shared_from_this()](boost::system::error_code error, size_t) {
                              if (!error) self->read();
                          });
    }

    void read()
    {
        constexpr uint64_t largest = 64 * 1024;
        _parser.body_limit(largest);
        http::async_read(_stream, _buffer, _parser,
                         [self = shared_from_this()](boost::system::error_code error, size_t) {
                             if (error == beast::error::timeout || error == asio::error::operation_aborted)
                                 return;
                             self->_machine.state = error ? "wrong" : self->judge();
                         });
    }

    QString judge()
    {
        const auto proof = _parser.get()[FleetKey::proofHeader];
        if (!isSame(QByteArray(proof.data(), qsizetype(proof.size())), _proof)) return "not_proven";
        _machine.self = QJsonDocument::fromJson(QByteArray::fromStdString(_parser.get().body())).object();
        _machine.version = _machine.self["version"].toString();
        return _machine.version.isEmpty() ? "wrong" : "ready";
    }

    beast::tcp_stream _stream;
    tcp::resolver _resolver;
    Fleet::Machine &_machine;
    const FleetKey::Signature _signature;
    const QByteArray _proof;
    http::request<http::empty_body> _request;
    http::response_parser<http::string_body> _parser;
    beast::flat_buffer _buffer;
};
} // namespace

Fleet::Fleet(quint16 port, bool isOpen) : _port(port), _isOpen(isOpen), _key(keyFile())
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

QList<Fleet::Machine> Fleet::machines() const
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
QList<Fleet::Machine> Fleet::find() const
{
    QList<Machine> found;
    QFile file(QmxPlaces().settings + "/fleet");
    if (file.open(QIODevice::ReadOnly))
        for (const QByteArray &bytes : file.readAll().split('\n')) {
            const QStringList words = QString::fromUtf8(bytes).simplified().split(' ');
            Machine machine;
            if (words.size() != 2 || words[0].startsWith('#') || !isName(words[0]) ||
                !parsePlace(words[1], machine) || found.size() >= mostMachines)
                continue;
            machine.name = words[0];
            machine.from = "file";
            found.append(machine);
        }
    const auto address = redisAddressOfStore();
    std::vector<RedisFleet::Member> members;
    if (address) RedisFleet(*address, RedisBackend::standardPasswordFile()).list(members);
    for (const RedisFleet::Member &member : members) {
        Machine machine;
        machine.name = QString::fromStdString(member.name);
        machine.from = "store";
        const bool isKnown = std::any_of(found.begin(), found.end(),
                                         [&machine](const Machine &one) { return one.name == machine.name; });
        if (member.name != address->recorder && !isKnown && isName(machine.name) &&
            parsePlace(QString::fromStdString(member.panel), machine) && found.size() < mostMachines)
            found.append(machine);
    }
    return found;
}

void Fleet::announce()
{
    const auto address = _isOpen ? redisAddressOfStore() : std::nullopt;
    if (address)
        RedisFleet(*address, RedisBackend::standardPasswordFile())
            .announce(address->recorder, _port, announcedFor);
}

void Fleet::probe(QList<Machine> &machines) const
{
    asio::io_context io;
    for (Machine &machine : machines)
        std::make_shared<Probe>(io, machine, _key)->start();
    io.run_for(answerWithin + std::chrono::seconds(1)); // (a name that nobody resolves takes longer)
}

void Fleet::run()
{
    const auto clock = QmxEnvironment::current().clock;
    while (!_stop) {
        announce();
        QList<Machine> found = find();
        probe(found);
        {
            const std::lock_guard lock(_mutex);
            _machines = found;
        }
        clock->sleepUntil(clock->now() + lookEvery, &_interrupt);
    }
}

bool Fleet::verify(const HttpCall &call, QByteArray &proof)
{
    return _key.verify(call, wallSeconds(), proof);
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
        to.port = quint16(address.port(0));
        to.authorization = "Bearer " + lineOf(places.panelToken).toLatin1();
        if (to.port != 0 && to.authorization.size() > qsizetype(sizeof "Bearer ")) return {};
        return problemReply(502, "silent",
                            QStringLiteral("the panel of channel %1 does not run").arg(*channel),
                            QStringLiteral("start it: systemctl start xppanel@%1").arg(*channel));
    }
    for (const Machine &machine : machines())
        if (machine.name == name) {
            const FleetKey::Signature signature =
                _key.sign(call.method, target, to.caller, to.role, call.body, wallSeconds());
            to.name = name;
            to.host = machine.host;
            to.port = machine.port;
            to.authorization = signature.authorization;
            to.proof = _key.proof(signature.nonce);
            return {};
        }
    return problemReply(
        404, "no_machine", QStringLiteral("no machine of the fleet is called %1").arg(name.left(64)),
        hasKey() ? QStringLiteral("GET /api/v1/fleet lists those there are")
                 : QStringLiteral("this one is in no fleet: it has no key in /etc/xp/fleet.key"));
}
