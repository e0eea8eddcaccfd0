// SPDX-License-Identifier: GPL-3.0-or-later
#include "companions/panel/tunnel.h"

#include "companions/panel/access.h"
#include "companions/panel/fleetkey.h"
#include "companions/panel/server.h"
#include "companions/panel/tls.h"

#include <boost/asio/connect.hpp>
#include <boost/asio/read_until.hpp>
#include <boost/asio/write.hpp>

#include <array>

namespace beast = boost::beast;
namespace http = beast::http;
namespace asio = boost::asio;
using asio::ip::tcp;

namespace {
constexpr std::chrono::seconds connectWithin{2};
constexpr std::chrono::seconds answerWithin{15};
constexpr std::chrono::seconds socketWithin{3}; // a browser's next one waits for it
constexpr std::chrono::seconds idleFor{120};
constexpr size_t mostHead = 64 * 1024;

using Plain = beast::tcp_stream;
using Secured = beast::ssl_stream<beast::tcp_stream>;

/// One way of the tunnel.
struct Way
{
    std::array<char, 64 * 1024> bytes{};
};
} // namespace

template <typename Stream, typename Peer>
class Tunnel : public std::enable_shared_from_this<Tunnel<Stream, Peer>>
{
public:
    Tunnel(std::shared_ptr<ConnectionContext> context, std::shared_ptr<ConnectionCount> count, Stream stream,
           Peer peer, http::request<http::string_body> request, PassedOn to, const QByteArray &proof)
        : _context(std::move(context)),
          _count(std::move(count)),
          _client(std::move(stream)),
          _peer(std::move(peer)),
          _request(std::move(request)),
          _to(std::move(to)),
          _ownProof(proof.isEmpty() ? std::string()
                                    : FleetKey::proofHeader + (": " + proof.toStdString() + "\r\n"))
    {}

    void start()
    {
        beast::get_lowest_layer(_client).expires_never();
        boost::system::error_code error;
        const auto address = asio::ip::make_address(_to.address.toStdString(), error);
        if (error) return fail("its address is not known");
        beast::get_lowest_layer(_peer).expires_after(connectWithin);
        beast::get_lowest_layer(_peer).async_connect(
            tcp::endpoint(address, _to.port),
            [self = this->shared_from_this()](boost::system::error_code failed) {
                if (failed) return self->fail("nobody answers there");
                self->secure();
            });
    }

private:
    /// Before anything is said: that it is the one that has proved to be of the fleet.
    void secure()
    {
        if constexpr (std::is_same_v<Peer, Secured>)
            _peer.async_handshake(asio::ssl::stream_base::client, [self = this->shared_from_this()](
                                                                      boost::system::error_code error) {
                if (error) return self->fail("it does not speak HTTPS");
                const auto *certificate = SSL_get0_peer_certificate(self->_peer.native_handle());
                // (A channel of this machine is known by its token.)
                if (!self->_to.proof.isEmpty() && !isSame(fingerprintOf(certificate), self->_to.certificate))
                    return self->fail("it shows another certificate than the one that it has proved",
                                      "not_proven");
                self->ask();
            });
        else
            ask();
    }

    /// The request as the other panel gets it: without what was meant for this one.
    void ask()
    {
        for (const char *field :
             {"Authorization", "Origin", "Sec-Fetch-Site", "Sec-Fetch-Mode", "Sec-Fetch-Dest", "Host",
              "Cookie", FleetKey::callerHeader, FleetKey::roleHeader})
            _request.erase(field);
        const bool isNamed =
            std::string(_request[http::field::sec_websocket_protocol]).find("xp") != std::string::npos;
        _request.erase(http::field::sec_websocket_protocol);
        if (isNamed) _request.set(http::field::sec_websocket_protocol, "xp");
        _request.target(std::string(_to.target.constData(), size_t(_to.target.size())));
        _request.set(http::field::host, hostHeader(_to.address, _to.port).toStdString());
        _request.set(http::field::authorization, _to.authorization.toStdString());
        _request.set(FleetKey::callerHeader, _to.caller.toStdString());
        _request.set(FleetKey::roleHeader, _to.role.toStdString());
        const bool isSocket = _request.find(http::field::upgrade) != _request.end();
        if (!isSocket) _request.keep_alive(false);
        beast::get_lowest_layer(_peer).expires_after(isSocket ? socketWithin : answerWithin);
        http::async_write(_peer, _request,
                          [self = this->shared_from_this()](boost::system::error_code error, size_t) {
                              if (error) return self->fail("it does not take the request");
                              self->readHead();
                          });
    }

    void readHead()
    {
        asio::async_read_until(
            _peer, asio::dynamic_buffer(_head, mostHead), "\r\n\r\n",
            [self = this->shared_from_this()](boost::system::error_code error, size_t size) {
                if (error) return self->fail("it does not answer");
                self->headRead(size);
            });
    }

    void headRead(size_t size)
    {
        const QByteArray head = QByteArray::fromStdString(_head.substr(0, size)).toLower();
        const QByteArray name = QByteArray("\r\n") + FleetKey::proofHeader + ": ";
        const qsizetype at = head.indexOf(name);
        const QByteArray proof =
            at < 0 ? QByteArray() : head.mid(at + name.size()).split('\r').first().trimmed();
        if (!_to.proof.isEmpty() && !isSame(proof, _to.proof))
            return fail("it has not got the key of this fleet, or its clock is a minute off", "not_proven");
        if (at >= 0) _head.erase(size_t(at), size_t(name.size() + proof.size()));
        _head.insert(_head.find("\r\n") + 2, _ownProof);
        _isOpen = true;
        beast::get_lowest_layer(_peer).expires_never();
        asio::async_write(_client, asio::buffer(_head),
                          [self = this->shared_from_this()](boost::system::error_code error, size_t) {
                              if (error) return self->close();
                              self->relay(self->_peer, self->_client, self->_back);
                              self->relay(self->_client, self->_peer, self->_there);
                          });
    }

    template <typename From, typename To>
    void relay(From &from, To &to, Way &way)
    {
        beast::get_lowest_layer(from).expires_after(idleFor);
        from.async_read_some(asio::buffer(way.bytes), [self = this->shared_from_this(), &from, &to,
                                                       &way](boost::system::error_code error, size_t size) {
            if (error) return self->close();
            asio::async_write(to, asio::buffer(way.bytes.data(), size),
                              [self, &from, &to, &way](boost::system::error_code failed, size_t) {
                                  if (failed) return self->close();
                                  self->relay(from, to, way);
                              });
        });
    }

    void fail(const char *why, const char *code = "silent")
    {
        if (_isOpen) return close();
        _isOpen = true; // (what comes of the other side after this is nothing new)
        const HttpReply reply = problemReply(502, code,
                                             QStringLiteral("%1 (%2, port %3): %4")
                                                 .arg(_to.name, _to.host)
                                                 .arg(_to.port)
                                                 .arg(QString::fromLatin1(why)),
                                             "look whether its panel runs: systemctl status xppanel");
        _reply = "HTTP/1.1 502 Bad Gateway\r\nContent-Type: " + reply.type.toStdString() + "\r\n" +
                 _ownProof + "Cache-Control: no-store\r\nConnection: close\r\nContent-Length: " +
                 std::to_string(reply.body.size()) + "\r\n\r\n" + reply.body.toStdString();
        beast::get_lowest_layer(_client).expires_after(answerWithin);
        asio::async_write(
            _client, asio::buffer(_reply),
            [self = this->shared_from_this()](boost::system::error_code, size_t) { self->close(); });
    }

    void close()
    {
        boost::system::error_code ignored;
        auto &client = beast::get_lowest_layer(_client).socket();
        client.shutdown(tcp::socket::shutdown_send, ignored);
        client.close(ignored);
        beast::get_lowest_layer(_peer).socket().close(ignored);
    }

    std::shared_ptr<ConnectionContext> _context;
    std::shared_ptr<ConnectionCount> _count;
    Stream _client;
    Peer _peer;
    http::request<http::string_body> _request;
    const PassedOn _to;
    const std::string _ownProof; ///< the line of the head
    std::string _head;
    std::string _reply;
    bool _isOpen = false; ///< something has been sent to the client
    Way _there, _back;
};

template <typename Stream>
void startTunnel(std::shared_ptr<ConnectionContext> context, std::shared_ptr<ConnectionCount> count,
                 Stream stream, http::request<http::string_body> request, const PassedOn &to,
                 const QByteArray &proof)
{
    const auto executor = stream.get_executor();
    if (!to.isTls) {
        std::make_shared<Tunnel<Stream, Plain>>(std::move(context), std::move(count), std::move(stream),
                                                Plain(executor), std::move(request), to, proof)
            ->start();
        return;
    }
    asio::ssl::context tls = contextOfClients(); // (each connection keeps what it needs of it)
    std::make_shared<Tunnel<Stream, Secured>>(std::move(context), std::move(count), std::move(stream),
                                              Secured(Plain(executor), tls), std::move(request), to, proof)
        ->start();
}

template void startTunnel(std::shared_ptr<ConnectionContext>, std::shared_ptr<ConnectionCount>,
                          beast::tcp_stream, http::request<http::string_body>, const PassedOn &,
                          const QByteArray &);
template void startTunnel(std::shared_ptr<ConnectionContext>, std::shared_ptr<ConnectionCount>,
                          beast::ssl_stream<beast::tcp_stream>, http::request<http::string_body>,
                          const PassedOn &, const QByteArray &);
