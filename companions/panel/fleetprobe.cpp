// SPDX-License-Identifier: GPL-3.0-or-later
#include "companions/panel/fleetprobe.h"

#include "companions/panel/access.h"
#include "companions/panel/tls.h"
#include "platform/product/programtext.h"

#include <QJsonDocument>

// (Asio of Boost 1.74 uses std::exchange without including it.)
#include <utility>

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/http.hpp>
#include <boost/beast/ssl/ssl_stream.hpp>

namespace beast = boost::beast;
namespace http = beast::http;
namespace asio = boost::asio;
using asio::ip::tcp;

namespace {
constexpr std::chrono::seconds answerWithin{2};
constexpr auto selfTarget = "/api/v1/fleet/self";
using Plain = beast::tcp_stream;
using Secured = beast::ssl_stream<beast::tcp_stream>;

/// One of them.
template <typename Stream>
class Question : public std::enable_shared_from_this<Question<Stream>>
{
public:
    Question(Stream stream, FleetMachine &machine, const FleetKey &key, std::chrono::seconds wall)
        : _stream(std::move(stream)),
          _resolver(_stream.get_executor()),
          _machine(machine),
          _key(key),
          _wall(wall)
    {
        is("silent", QStringLiteral("nobody answers there"));
    }

    void start()
    {
        beast::get_lowest_layer(_stream).expires_after(answerWithin);
        _resolver.async_resolve(_machine.host.toStdString(), std::to_string(_machine.port),
                                [self = this->shared_from_this()](boost::system::error_code error,
                                                                  const tcp::resolver::results_type &found) {
                                    if (error)
                                        return self->is("silent", QStringLiteral("its address is not known"));
                                    self->connect(found);
                                });
    }

private:
    void is(const char *state, const QString &problem)
    {
        _machine.state = QString::fromLatin1(state);
        _machine.problem = problem;
    }

    void connect(const tcp::resolver::results_type &found)
    {
        _machine.address = QString::fromStdString(found.begin()->endpoint().address().to_string());
        beast::get_lowest_layer(_stream).async_connect(
            found,
            [self = this->shared_from_this()](boost::system::error_code error, const tcp::endpoint &at) {
                if (error) return;
                self->_machine.address = QString::fromStdString(at.address().to_string());
                self->is("silent", QStringLiteral("it takes the connection, and says nothing"));
                self->secure();
            });
    }

    void secure()
    {
        if constexpr (std::is_same_v<Stream, Secured>)
            _stream.async_handshake(asio::ssl::stream_base::client, [self = this->shared_from_this()](
                                                                        boost::system::error_code error) {
                if (error == beast::error::timeout) return;
                if (error) return self->is("wrong", QStringLiteral("it does not speak HTTPS"));
                self->_certificate = fingerprintOf(SSL_get0_peer_certificate(self->_stream.native_handle()));
                self->ask();
            });
        else
            ask();
    }

    void ask()
    {
        const FleetKey::Signature signature =
            _key.sign("GET", selfTarget, "fleet", "view", {}, _certificate, _wall);
        _proof = _key.proof(signature.nonce, _certificate);
        _request = {http::verb::get, selfTarget, 11};
        _request.set(http::field::host, hostHeader(_machine.address, _machine.port).toStdString());
        _request.set(http::field::authorization, signature.authorization.toStdString());
        _request.set(FleetKey::callerHeader, "fleet");
        _request.set(FleetKey::roleHeader, "view");
        _request.keep_alive(false);
        http::async_write(_stream, _request,
                          [self = this->shared_from_this()](boost::system::error_code error, size_t) {
                              if (!error) self->read();
                          });
    }

    void read()
    {
        constexpr uint64_t largest = 64 * 1024;
        _parser.body_limit(largest);
        http::async_read(_stream, _buffer, _parser,
                         [self = this->shared_from_this()](boost::system::error_code error, size_t) {
                             if (error == beast::error::timeout || error == asio::error::operation_aborted)
                                 return;
                             if (error)
                                 return self->is(
                                     "wrong",
                                     QStringLiteral("what answers there is no panel, or one with a "
                                                    "certificate, and has to be written with https://"));
                             self->judge();
                         });
    }

    void judge()
    {
        const auto proof = _parser.get()[FleetKey::proofHeader];
        if (!isSame(QByteArray(proof.data(), qsizetype(proof.size())), _proof))
            return is("not_proven",
                      QStringLiteral("it has not got the key of this fleet, or its clock is a minute off"));
        _machine.self = QJsonDocument::fromJson(QByteArray::fromStdString(_parser.get().body())).object();
        _machine.version = _machine.self["version"].toString();
        if (_machine.version.isEmpty()) return is("wrong", QStringLiteral("it does not say what it is"));
        // A name in the store is there for whoever can write there.
        if (_machine.from == QLatin1String("store") && _machine.self["name"].toString() != _machine.name)
            return is("wrong", QStringLiteral("it calls itself something else"));
        _machine.certificate = _certificate;
        if (_machine.version == QLatin1String(recorderVersion())) return is("ready", {});
        // What both know works.
        constexpr qsizetype longest = 32;
        is("other_version", QStringLiteral("it runs version %1, and this one %2: what only one of them knows "
                                           "does not work")
                                .arg(_machine.version.left(longest), QLatin1String(recorderVersion())));
    }

    Stream _stream;
    tcp::resolver _resolver;
    FleetMachine &_machine;
    const FleetKey &_key;
    const std::chrono::seconds _wall;
    QByteArray _certificate;
    QByteArray _proof;
    http::request<http::empty_body> _request;
    http::response_parser<http::string_body> _parser;
    beast::flat_buffer _buffer;
};
} // namespace

struct FleetProbe::Private
{
    Private(const FleetKey &ofFleet, std::chrono::seconds now) : key(ofFleet), wall(now) {}

    const FleetKey &key;
    const std::chrono::seconds wall;
    QList<FleetMachine> machines;
    asio::ssl::context tls = contextOfClients();
    asio::io_context io; // last: its end waits for the resolver
};

FleetProbe::FleetProbe(const FleetKey &key, std::chrono::seconds wall)
    : d(std::make_unique<Private>(key, wall))
{}

FleetProbe::~FleetProbe() = default;

QList<FleetMachine> FleetProbe::ask(QList<FleetMachine> machines)
{
    d->machines = std::move(machines);
    for (FleetMachine &machine : d->machines) {
        if (machine.port == 0) continue; // it is known already what is wrong with it
        if (machine.isTls)
            std::make_shared<Question<Secured>>(Secured(Plain(d->io), d->tls), machine, d->key, d->wall)
                ->start();
        else
            std::make_shared<Question<Plain>>(Plain(d->io), machine, d->key, d->wall)->start();
    }
    d->io.run_for(answerWithin + std::chrono::seconds(1)); // (a name that nobody resolves takes longer)
    return d->machines;
}
