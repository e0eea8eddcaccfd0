// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "companions/panel/connection.h"
#include "companions/panel/server.h"

#include <boost/asio/dispatch.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/http.hpp>
#include <boost/beast/ssl/ssl_stream.hpp>

#include <array>
#include <chrono>
#include <deque>

/// One client of HTTP: request after request, then perhaps server-sent events; a WebSocket goes on elsewhere.
/// On the server's thread. `Stream` is a tcp_stream or TLS over one.
template <typename Stream>
class HttpConnection : public EventClient, public std::enable_shared_from_this<HttpConnection<Stream>>
{
public:
    HttpConnection(std::shared_ptr<ConnectionContext> context, std::shared_ptr<ConnectionCount> count,
                   QString peer, Stream stream);
    ~HttpConnection() override;

    void start();
    void send(const std::shared_ptr<const QByteArray> &message, const char *kind, quint64 seq) override;

private:
    using Request = boost::beast::http::request<boost::beast::http::string_body>;
    using Response = boost::beast::http::response<boost::beast::http::string_body>;

    void beSilent();
    void readHeader(std::chrono::seconds within);
    void readBody();
    void handle();
    HttpCall callOf(const Request &request) const;
    /// Whether it is for another panel, which gets it then.
    bool passOn(Request &request, const HttpCall &call, const QStringList &parts);
    void answer(HttpReply reply);
    void write(HttpReply reply);
    void writeFile(const FilePart &part);
    void nextPiece();
    void written(bool keepsAlive);
    void beginEvents(const HttpCall &call);
    void sendNext();
    void watchForEnd();
    void close();
    void drain();
    void failedRead(boost::system::error_code error);
    void expire(std::chrono::seconds within)
    {
        boost::beast::get_lowest_layer(_stream).expires_after(within);
    }

    std::shared_ptr<ConnectionContext> _context;
    std::shared_ptr<ConnectionCount> _count;
    const QString _peer;
    Stream _stream;
    boost::beast::flat_buffer _buffer;
    std::optional<boost::beast::http::request_parser<boost::beast::http::string_body>> _parser;
    std::optional<Response> _response;
    quint64 _silentAs = 0; ///< 0: it has asked for something
    bool _isHead = false;
    QByteArray _proof; ///< of the answer, for another panel
    bool _keepsAlive = false;

    // A file that is being sent
    struct Sending;
    std::shared_ptr<Sending> _sending;

    // Server-sent events
    bool _isEvents = false;
    bool _isWriting = false;
    std::deque<QByteArray> _waiting;
    QByteArray _current;
    std::array<char, 64> _nothing{};
};

extern template class HttpConnection<boost::beast::tcp_stream>;
extern template class HttpConnection<boost::beast::ssl_stream<boost::beast::tcp_stream>>;
