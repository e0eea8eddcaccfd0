// SPDX-License-Identifier: GPL-3.0-or-later
#include "companions/panel/httpconnection.h"

#include "companions/panel/pagefiles.h"
#include "companions/panel/tls.h"
#include "companions/panel/tunnel.h"
#include "companions/panel/websocketconnection.h"

#include <boost/asio/write.hpp>
#include <boost/beast/websocket/rfc6455.hpp>

#include <unistd.h>

namespace beast = boost::beast;
namespace http = beast::http;
namespace asio = boost::asio;

namespace {
constexpr int httpVersion = 11;
constexpr size_t pieceSize = 256 * 1024;

QByteArray bytesOf(beast::string_view text)
{
    return {text.data(), qsizetype(text.size())};
}

template <typename Body>
void setHeaders(http::response<Body> &response, const HttpReply &reply)
{
    response.set(http::field::content_type,
                 beast::string_view(reply.type.constData(), size_t(reply.type.size())));
    response.set("X-Content-Type-Options", "nosniff");
    response.set("Referrer-Policy", "no-referrer");
    response.set("Cross-Origin-Resource-Policy", "same-origin");
    response.set(http::field::cache_control, "no-store");
    for (const auto &[name, value] : reply.headers)
        response.set(beast::string_view(name.constData(), size_t(name.size())),
                     beast::string_view(value.constData(), size_t(value.size())));
}

/// Whether a read has failed because of what was sent, and how that is answered.
std::optional<HttpReply> refusalOf(boost::system::error_code error)
{
    if (error == http::error::body_limit) return problemReply(413, "too_large", "the body is too large");
    if (error == http::error::header_limit || error == http::error::buffer_overflow)
        return problemReply(431, "header_too_large", "the header is too large");
    const bool isTheirs = error.category() == make_error_code(http::error::end_of_stream).category() &&
                          error != http::error::end_of_stream && error != http::error::partial_message;
    if (isTheirs) return problemReply(400, "no_http", "this is no request of HTTP/1.1");
    return {};
}
} // namespace

template <typename Stream>
struct HttpConnection<Stream>::Sending
{
    std::shared_ptr<const int> fd;
    qint64 at = 0;
    qint64 end = 0;
    std::vector<char> piece;
    std::optional<http::response<http::empty_body>> response;
    std::optional<http::response_serializer<http::empty_body>> serializer;
};

template <typename Stream>
HttpConnection<Stream>::HttpConnection(std::shared_ptr<ConnectionContext> context,
                                       std::shared_ptr<ConnectionCount> count, QString peer, Stream stream)
    : _context(std::move(context)),
      _count(std::move(count)),
      _peer(std::move(peer)),
      _stream(std::move(stream)),
      _buffer(Limit::header + Limit::webSocketMessage)
{}

template <typename Stream>
HttpConnection<Stream>::~HttpConnection()
{
    _context->silent.erase(_silentAs);
    if (_isEvents) _context->panel.events.unsubscribe(this);
}

template <typename Stream>
void HttpConnection<Stream>::beSilent()
{
    _silentAs = ++_context->count;
    _context->silent[_silentAs] = [weak = this->weak_from_this()] {
        boost::system::error_code ignored;
        if (const auto self = weak.lock()) beast::get_lowest_layer(self->_stream).socket().close(ignored);
    };
}

template <typename Stream>
void HttpConnection<Stream>::start()
{
    beSilent();
    if constexpr (std::is_same_v<Stream, beast::tcp_stream>) {
        readHeader(Limit::requestWithin);
    } else {
        expire(Limit::requestWithin);
        _stream.async_handshake(asio::ssl::stream_base::server,
                                [self = this->shared_from_this()](boost::system::error_code error) {
                                    if (!error) self->readHeader(Limit::requestWithin);
                                });
    }
}

template <typename Stream>
void HttpConnection<Stream>::readHeader(std::chrono::seconds within)
{
    _parser.emplace();
    _parser->header_limit(Limit::header);
    _parser->body_limit(Limit::body);
    expire(within);
    http::async_read_header(_stream, _buffer, *_parser,
                            [self = this->shared_from_this()](boost::system::error_code error, size_t) {
                                if (error) return self->failedRead(error);
                                self->readBody();
                            });
}

template <typename Stream>
void HttpConnection<Stream>::readBody()
{
    _context->silent.erase(std::exchange(_silentAs, 0));
    expire(Limit::requestWithin);
    const auto read = [self = this->shared_from_this()] {
        http::async_read(self->_stream, self->_buffer, *self->_parser,
                         [self](boost::system::error_code error, size_t) {
                             if (error) return self->failedRead(error);
                             self->handle();
                         });
    };
    if (!beast::iequals(_parser->get()[http::field::expect], "100-continue")) return read();
    static constexpr beast::string_view goOn = "HTTP/1.1 100 Continue\r\n\r\n";
    asio::async_write(_stream, asio::buffer(goOn.data(), goOn.size()),
                      [read](boost::system::error_code error, size_t) {
                          if (!error) read();
                      });
}

template <typename Stream>
void HttpConnection<Stream>::failedRead(boost::system::error_code error)
{
    const auto refusal = refusalOf(error);
    if (!refusal) return close();
    _keepsAlive = false;
    _isHead = false;
    write(*refusal);
}

template <typename Stream>
HttpCall HttpConnection<Stream>::callOf(const Request &request) const
{
    HttpCall call;
    call.method = bytesOf(request.method_string());
    call.body = QByteArray(request.body().data(), qsizetype(request.body().size()));
    for (const auto &field : request) {
        QByteArray &value = call.headers[bytesOf(field.name_string()).toLower()];
        value += (value.isEmpty() ? "" : ",") + bytesOf(field.value());
    }
    call.target = bytesOf(request.target());
    call.caller.address = _peer;
    return call;
}

template <typename Stream>
void HttpConnection<Stream>::handle()
{
    beast::get_lowest_layer(_stream).expires_never();
    Request request = _parser->release();
    _keepsAlive = request.keep_alive();
    _isHead = request.method() == http::verb::head;
    HttpCall call = callOf(request);
    if constexpr (!std::is_same_v<Stream, beast::tcp_stream>)
        call.certificate = fingerprintOf(SSL_get_certificate(_stream.native_handle()));
    Panel &panel = _context->panel;
    if (const auto refusal = panel.access.refusal(call)) return write(*refusal);
    const auto target = parseTarget({request.target().data(), qsizetype(request.target().size())});
    if (!target) return write(problemReply(400, "wrong_address", "this address makes no sense"));
    call.path = '/' + target->parts.join('/');
    call.query = target->query;
    if (!panel.access.identify(call))
        return write(problemReply(401, "wrong_token", "this token is not known",
                                  "`xppanel open` prints an address with the one that is valid"));
    _proof = call.proof;
    if (passOn(request, call, target->parts)) return;
    const bool isPage =
        target->parts.first() != QLatin1String("api") && target->parts.first() != QLatin1String("metrics");
    if (isPage) return write(pageReply(call));
    const Routed routed = findRoute(call.method, target->parts);
    if (routed.refusal) return write(*routed.refusal);
    call.words = routed.words;
    if (call.caller.role < routed.row->role) {
        const bool isSomebody = call.caller.role > Role::View || !call.header("authorization").isEmpty();
        return write(
            isSomebody
                ? problemReply(403, "not_allowed",
                               QStringLiteral("this needs the role %1").arg(roleName(routed.row->role)))
                : problemReply(
                      401, "who", "this needs a token or an account",
                      "send it as Authorization: Bearer TOKEN; `xppanel open` prints an address with it"));
    }
    if (!routed.row->handle) {
        const bool isUpgrade = beast::websocket::is_upgrade(request);
        const bool isPictures = qstrcmp(routed.row->path, "pictures") == 0;
        if (isUpgrade) return startWebSocket(_context, _count, std::move(_stream), request, call, isPictures);
        if (isPictures)
            return write(problemReply(400, "no_websocket", "pictures come over a WebSocket only"));
        return beginEvents(call);
    }
    routed.row->handle(
        panel, call, [self = this->shared_from_this(), post = _context->post](HttpReply reply) {
            post([self, reply = std::move(reply)]() mutable { self->answer(std::move(reply)); });
        });
}

template <typename Stream>
bool HttpConnection<Stream>::passOn(Request &request, const HttpCall &call, const QStringList &parts)
{
    constexpr qsizetype words = 4; // api, v1, channels, 2
    const QString kind = parts.value(2);
    if (parts.size() <= words || parts[0] != QLatin1String("api") ||
        (kind != QLatin1String("channels") && kind != QLatin1String("machines")))
        return false;
    if (call.caller.role < Role::View) {
        write(
            problemReply(401, "who", "this needs a token or an account",
                         "send it as Authorization: Bearer TOKEN; `xppanel open` prints an address with it"));
        return true;
    }
    // As it came: what stands behind the name is for the other panel to read.
    qsizetype at = 0;
    for (qsizetype slash = 0; slash <= words; ++slash)
        at = call.target.indexOf('/', slash == 0 ? 0 : at + 1);
    PassedOn to;
    const auto refusal =
        _context->panel.fleet.resolve(kind, parts[3], call, "/api/v1" + call.target.mid(at), to);
    if (refusal)
        write(*refusal);
    else
        startTunnel(_context, _count, std::move(_stream), std::move(request), to, call.proof);
    return true;
}

template <typename Stream>
void HttpConnection<Stream>::answer(HttpReply reply)
{
    if (reply.file && !_isHead) {
        const FilePart part = *reply.file;
        _sending = std::make_shared<Sending>();
        _sending->response.emplace(http::status(reply.status), httpVersion);
        setHeaders(*_sending->response, reply);
        if (!_proof.isEmpty()) _sending->response->set(FleetKey::proofHeader, _proof.toStdString());
        _sending->response->content_length(uint64_t(part.length));
        _sending->response->keep_alive(_keepsAlive);
        return writeFile(part);
    }
    write(std::move(reply));
}

template <typename Stream>
void HttpConnection<Stream>::write(HttpReply reply)
{
    _response.emplace(http::status(reply.status), httpVersion);
    setHeaders(*_response, reply);
    if (!_proof.isEmpty()) _response->set(FleetKey::proofHeader, _proof.toStdString());
    _response->keep_alive(_keepsAlive);
    _response->content_length(reply.file ? uint64_t(reply.file->length) : uint64_t(reply.body.size()));
    if (!_isHead) _response->body() = reply.body.toStdString();
    expire(Limit::sendWithin);
    http::async_write(_stream, *_response,
                      [self = this->shared_from_this()](boost::system::error_code error, size_t) {
                          if (!error) self->written(self->_keepsAlive);
                      });
}

template <typename Stream>
void HttpConnection<Stream>::written(bool keepsAlive)
{
    _response.reset();
    _sending.reset();
    if (keepsAlive) return readHeader(Limit::idleFor);
    close();
}

template <typename Stream>
void HttpConnection<Stream>::writeFile(const FilePart &part)
{
    const auto sending = _sending;
    sending->fd = part.fd;
    sending->at = part.from;
    sending->end = part.from + part.length;
    // In its turn: when there is none to be had, that can still be said.
    const bool isPosted = _context->files.post([self = this->shared_from_this(), sending] {
        self->_context->post([self, sending] {
            sending->serializer.emplace(*sending->response);
            self->expire(Limit::sendWithin);
            http::async_write_header(self->_stream, *sending->serializer,
                                     [self](boost::system::error_code error, size_t) {
                                         if (!error) self->nextPiece();
                                     });
        });
    });
    if (!isPosted) write(problemReply(429, "busy", "too many files are being sent"));
}

template <typename Stream>
void HttpConnection<Stream>::nextPiece()
{
    const auto sending = _sending;
    if (sending->at >= sending->end) return written(_keepsAlive);
    beast::get_lowest_layer(_stream).expires_never(); // the disk's time is not the client's
    const bool isPosted = _context->files.post([self = this->shared_from_this(), sending] {
        self->_context->pace.wait(qint64(pieceSize));
        sending->piece.resize(size_t(std::min<qint64>(pieceSize, sending->end - sending->at)));
        const ssize_t got = pread(*sending->fd, sending->piece.data(), sending->piece.size(), sending->at);
        self->_context->post([self, sending, got] {
            if (got <= 0) return self->close(); // the length that was promised cannot be kept
            sending->at += got;
            self->expire(Limit::sendWithin);
            asio::async_write(self->_stream, asio::buffer(sending->piece.data(), size_t(got)),
                              [self](boost::system::error_code error, size_t) {
                                  if (!error) self->nextPiece();
                              });
        });
    });
    if (!isPosted) close();
}

template <typename Stream>
void HttpConnection<Stream>::beginEvents(const HttpCall &call)
{
    _isEvents = true;
    _isWriting = true;
    _current = "HTTP/1.1 200 OK\r\nContent-Type: text/event-stream\r\nCache-Control: no-store\r\n"
               "X-Content-Type-Options: nosniff\r\nConnection: close\r\n";
    if (!_proof.isEmpty()) _current += QByteArray(FleetKey::proofHeader) + ": " + _proof + "\r\n";
    _current += "\r\nretry: 500\n\n";
    const QByteArray last =
        call.query.contains("since") ? call.query["since"].toLatin1() : call.header("last-event-id");
    bool isNumber = false;
    const quint64 since = last.toULongLong(&isNumber);
    _context->panel.events.subscribe(this->shared_from_this(), isNumber ? std::optional(since) : std::nullopt,
                                     call.query["boot"]);
    watchForEnd();
    expire(Limit::sendWithin);
    asio::async_write(_stream, asio::buffer(_current.constData(), size_t(_current.size())),
                      [self = this->shared_from_this()](boost::system::error_code error, size_t) {
                          if (!error) self->sendNext();
                      });
}

template <typename Stream>
void HttpConnection<Stream>::send(const std::shared_ptr<const QByteArray> &message, const char *kind,
                                  quint64 seq)
{
    if (_waiting.size() >= Limit::waitingEvents)
        return close(); // too slow: it may come back and ask since when
    QByteArray text = "event: " + QByteArray(kind) + '\n';
    if (seq != 0) text += "id: " + QByteArray::number(seq) + '\n';
    _waiting.push_back(text + "data: " + *message + "\n\n");
    if (!_isWriting) sendNext();
}

template <typename Stream>
void HttpConnection<Stream>::sendNext()
{
    _isWriting = !_waiting.empty();
    if (!_isWriting) return beast::get_lowest_layer(_stream).expires_never();
    _current = std::move(_waiting.front());
    _waiting.pop_front();
    expire(Limit::sendWithin);
    asio::async_write(_stream, asio::buffer(_current.constData(), size_t(_current.size())),
                      [self = this->shared_from_this()](boost::system::error_code error, size_t) {
                          if (!error) self->sendNext();
                      });
}

/// A client of events has nothing more to say: what comes is its end.
template <typename Stream>
void HttpConnection<Stream>::watchForEnd()
{
    _stream.async_read_some(asio::buffer(_nothing),
                            [self = this->shared_from_this()](boost::system::error_code error, size_t) {
                                if (error) {
                                    self->_context->panel.events.unsubscribe(self.get());
                                    return self->close();
                                }
                                self->watchForEnd();
                            });
}

template <typename Stream>
void HttpConnection<Stream>::close()
{
    boost::system::error_code ignored;
    auto &socket = beast::get_lowest_layer(_stream).socket();
    socket.shutdown(asio::ip::tcp::socket::shutdown_send, ignored);
    if (_isEvents) {
        socket.close(ignored);
        return;
    }
    // What it still sends is taken in for a moment, or it would not see our answer.
    expire(Limit::lingerFor);
    drain();
}

template <typename Stream>
void HttpConnection<Stream>::drain()
{
    static std::array<char, pieceSize> ignored; // nobody reads it, and there is one thread
    beast::get_lowest_layer(_stream).async_read_some(
        asio::buffer(ignored), [self = this->shared_from_this()](boost::system::error_code error, size_t) {
            if (!error) self->drain();
        });
}

template class HttpConnection<beast::tcp_stream>;
template class HttpConnection<beast::ssl_stream<beast::tcp_stream>>;
