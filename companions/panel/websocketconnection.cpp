// SPDX-License-Identifier: GPL-3.0-or-later
#include "companions/panel/websocketconnection.h"

#include "companions/panel/fleetkey.h"
#include "companions/panel/server.h"

#include <boost/beast/ssl.hpp>
#include <boost/beast/websocket.hpp>
#include <boost/beast/websocket/ssl.hpp>

#include <QJsonDocument>
#include <QtEndian>

#include <deque>

namespace beast = boost::beast;
namespace websocket = beast::websocket;
namespace http = beast::http;

namespace {
constexpr std::chrono::seconds goneAfter{30};

/// What a client of events may say: {"ping": X} is answered with {"type": "pong", "ping": X, "time": ms since
/// 1970}.
std::shared_ptr<const QByteArray> replyTo(const QByteArray &text)
{
    const QJsonObject object = QJsonDocument::fromJson(text).object();
    if (!object["ping"].isDouble()) return nullptr;
    constexpr double nsPerMs = 1e6;
    const QJsonObject pong{{"type", "pong"},
                           {"ping", object["ping"]},
                           {"time", double(QmxEnvironment::current().clock->wallTime()) / nsPerMs}};
    return std::make_shared<const QByteArray>(QJsonDocument(pong).toJson(QJsonDocument::Compact));
}

/// What a client of pictures may say: {"got": COUNT}, the count in the header of a picture it has got.
std::optional<quint64> acknowledgedBy(const QByteArray &text)
{
    const QJsonValue count = QJsonDocument::fromJson(text).object()["got"];
    return count.isDouble() ? std::optional(quint64(std::max<qint64>(0, count.toInteger()))) : std::nullopt;
}
} // namespace

template <typename Stream>
class WebSocketConnection : public EventClient,
                            public PictureClient,
                            public std::enable_shared_from_this<WebSocketConnection<Stream>>
{
public:
    WebSocketConnection(std::shared_ptr<ConnectionContext> context, std::shared_ptr<ConnectionCount> count,
                        Stream stream, bool isPictures)
        : _context(std::move(context)),
          _count(std::move(count)),
          _stream(std::move(stream)),
          _isPictures(isPictures)
    {}
    ~WebSocketConnection() override { leave(); }

    void accept(const http::request<http::string_body> &request, const HttpCall &call);
    void send(const std::shared_ptr<const QByteArray> &message, const char *kind, quint64 seq) override;
    void sendPicture(const std::shared_ptr<const QByteArray> &message) override;

private:
    using Message = std::shared_ptr<const QByteArray>;

    void begin(const HttpCall &call);
    void read();
    void heard(const QByteArray &text);
    void write();
    bool mayTakePicture() const
    {
        return _picture && (!_onItsWay || _onItsWay->size() < Limit::unacknowledgedPictures);
    }
    void leave();
    bool isStuck() const
    {
        return _isWriting &&
               std::chrono::steady_clock::now() - _writingSince > std::chrono::seconds(Limit::sendWithin);
    }
    void drop();

    std::shared_ptr<ConnectionContext> _context;
    std::shared_ptr<ConnectionCount> _count;
    websocket::stream<Stream> _stream;
    const bool _isPictures;
    beast::flat_buffer _buffer;
    std::deque<Message> _waiting;
    size_t _waitingBytes = 0;
    Message _picture; ///< the newest that has not been sent
    /// Counts of those that the client has not acknowledged; none: it acknowledges nothing.
    std::optional<std::deque<quint64>> _onItsWay;
    Message _current;
    bool _isWriting = false;
    bool _isDropped = false;
    std::chrono::steady_clock::time_point _writingSince;
};

template <typename Stream>
void WebSocketConnection<Stream>::accept(const http::request<http::string_body> &request,
                                         const HttpCall &call)
{
    beast::get_lowest_layer(_stream).expires_never();
    websocket::stream_base::timeout timeout{std::chrono::seconds(Limit::requestWithin), goneAfter, true};
    _stream.set_option(timeout);
    _stream.read_message_max(Limit::webSocketMessage);
    bool isNamed = false;
    for (const QByteArray &protocol : call.header("sec-websocket-protocol").split(','))
        isNamed = isNamed || protocol.trimmed() == "xp";
    _stream.set_option(
        websocket::stream_base::decorator([isNamed, proof = call.proof](websocket::response_type &response) {
            if (isNamed) response.set(http::field::sec_websocket_protocol, "xp");
            if (!proof.isEmpty()) response.set(FleetKey::proofHeader, proof.toStdString());
        }));
    _stream.async_accept(request, [self = this->shared_from_this(), call](boost::system::error_code error) {
        if (!error) self->begin(call);
    });
}

template <typename Stream>
void WebSocketConnection<Stream>::begin(const HttpCall &call)
{
    if (_isPictures) {
        if (call.query.value("acknowledge") == QLatin1String("1")) _onItsWay.emplace();
        _context->panel.pictures.subscribe(this->shared_from_this());
    } else {
        bool isNumber = false;
        const quint64 since = call.query.value("since").toULongLong(&isNumber);
        _context->panel.events.subscribe(this->shared_from_this(),
                                         isNumber ? std::optional(since) : std::nullopt,
                                         call.query.value("boot"));
    }
    read();
}

template <typename Stream>
void WebSocketConnection<Stream>::leave()
{
    if (_isPictures)
        _context->panel.pictures.unsubscribe(this);
    else
        _context->panel.events.unsubscribe(this);
}

template <typename Stream>
void WebSocketConnection<Stream>::drop()
{
    _isDropped = true;
    _waiting.clear();
    _picture.reset();
    boost::system::error_code ignored;
    beast::get_lowest_layer(_stream).socket().close(ignored);
}

template <typename Stream>
void WebSocketConnection<Stream>::read()
{
    _stream.async_read(_buffer, [self = this->shared_from_this()](boost::system::error_code error, size_t) {
        if (error) return self->leave();
        const auto data = self->_buffer.cdata();
        const QByteArray text(static_cast<const char *>(data.data()), qsizetype(data.size()));
        const bool isText = self->_stream.got_text();
        self->_buffer.consume(self->_buffer.size());
        if (isText) self->heard(text);
        if (!self->_isDropped) self->read();
    });
}

template <typename Stream>
void WebSocketConnection<Stream>::heard(const QByteArray &text)
{
    if (!_isPictures) {
        if (const auto reply = replyTo(text)) send(reply, "pong", 0);
        return;
    }
    const auto got = _onItsWay ? acknowledgedBy(text) : std::nullopt;
    if (!got) return;
    while (!_onItsWay->empty() && _onItsWay->front() <= *got)
        _onItsWay->pop_front();
    if (!_isWriting) write();
}

template <typename Stream>
void WebSocketConnection<Stream>::send(const Message &message, const char *, quint64)
{
    if (_isDropped) return;
    // Too slow: it may come back and ask since when.
    if (_waiting.size() >= Limit::waitingEvents || _waitingBytes > Limit::waitingBytes || isStuck())
        return drop();
    _waiting.push_back(message);
    _waitingBytes += size_t(message->size());
    if (!_isWriting) write();
}

template <typename Stream>
void WebSocketConnection<Stream>::sendPicture(const Message &message)
{
    if (_isDropped) return;
    if (isStuck()) return drop();
    _picture = message;
    if (!_isWriting) write();
}

template <typename Stream>
void WebSocketConnection<Stream>::write()
{
    if (mayTakePicture()) {
        _current = std::exchange(_picture, nullptr);
        if (_onItsWay)
            _onItsWay->push_back(qFromLittleEndian<quint64>(_current->constData() + PictureHub::countAt));
    } else if (!_waiting.empty()) {
        _current = std::move(_waiting.front());
        _waiting.pop_front();
        _waitingBytes -= size_t(_current->size());
    } else {
        _isWriting = false;
        return;
    }
    _isWriting = true;
    _writingSince = std::chrono::steady_clock::now();
    _stream.binary(_isPictures);
    _stream.async_write(boost::asio::buffer(_current->constData(), size_t(_current->size())),
                        [self = this->shared_from_this()](boost::system::error_code error, size_t) {
                            self->_current.reset();
                            if (error) return self->leave();
                            self->write();
                        });
}

template <typename Stream>
void startWebSocket(std::shared_ptr<ConnectionContext> context, std::shared_ptr<ConnectionCount> count,
                    Stream stream, const http::request<http::string_body> &request, const HttpCall &call,
                    bool isPictures)
{
    std::make_shared<WebSocketConnection<Stream>>(std::move(context), std::move(count), std::move(stream),
                                                  isPictures)
        ->accept(request, call);
}

template void startWebSocket(std::shared_ptr<ConnectionContext>, std::shared_ptr<ConnectionCount>,
                             beast::tcp_stream, const http::request<http::string_body> &, const HttpCall &,
                             bool);
template void startWebSocket(std::shared_ptr<ConnectionContext>, std::shared_ptr<ConnectionCount>,
                             beast::ssl_stream<beast::tcp_stream>, const http::request<http::string_body> &,
                             const HttpCall &, bool);
