// SPDX-License-Identifier: GPL-3.0-or-later
#include "companions/panel/server.h"

#include "companions/panel/connection.h"
#include "companions/panel/tls.h"
#include "platform/qmx/core/qmxlog.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/steady_timer.hpp>

#include <chrono>
#include <optional>

namespace asio = boost::asio;
using asio::ip::tcp;

namespace {
constexpr std::chrono::milliseconds figuresEvery{250};
constexpr std::chrono::milliseconds acceptAgainAfter{100};
} // namespace

/// What is to be done on the loop knows it by its plain address: the loop is a part of it.
struct Server::Private
{
    asio::io_context io{1};
    std::optional<tcp::acceptor> acceptor;
    std::optional<asio::ssl::context> tls;
    std::shared_ptr<ConnectionContext> context;
    asio::steady_timer figures{io};
    asio::steady_timer again{io};
    QmxCountersReader counters;
    int countersOf = 0;

    void accept();
    void tellFigures();
};

Server::Server() : d(std::make_shared<Private>()) {}

Server::~Server()
{
    close();
}

std::function<void(std::function<void()>)> Server::poster() const
{
    return [weak = std::weak_ptr(d)](std::function<void()> work) {
        if (const auto alive = weak.lock()) asio::post(alive->io, std::move(work));
    };
}

quint16 Server::port() const
{
    return d->acceptor ? d->acceptor->local_endpoint().port() : quint16(0);
}

QString Server::listen(Panel &panel)
{
    const PanelOptions &options = panel.options;
    if (options.hasTls()) {
        if (const QString problem = loadCertificate(d->tls, options.certificate, options.key);
            !problem.isEmpty())
            return problem;
    }
    boost::system::error_code error;
    const auto address = asio::ip::make_address(options.address.toStdString(), error);
    if (error) return QStringLiteral("%1 is no address of this machine").arg(options.address);
    d->acceptor.emplace(d->io);
    const tcp::endpoint at(address, options.port);
    d->acceptor->open(at.protocol(), error);
    if (!error) d->acceptor->set_option(asio::socket_base::reuse_address(true), error);
    if (!error) d->acceptor->bind(at, error);
    if (!error) d->acceptor->listen(asio::socket_base::max_listen_connections, error);
    if (error)
        return QStringLiteral("cannot listen on %1 port %2: %3; choose another with --listen ADDRESS:PORT")
            .arg(options.address)
            .arg(options.port)
            .arg(QString::fromStdString(error.message()));
    d->context = std::make_shared<ConnectionContext>(panel, d->tls ? &*d->tls : nullptr);
    d->context->post = poster();
    return {};
}

void Server::Private::accept()
{
    acceptor->async_accept([this](boost::system::error_code error, tcp::socket socket) {
        if (error == asio::error::operation_aborted) return;
        if (error) { // no descriptor is left, say: those that are served go on
            again.expires_after(acceptAgainAfter);
            again.async_wait([this](boost::system::error_code ended) {
                if (!ended) accept();
            });
            return;
        }
        startConnection(context, std::move(socket));
        accept();
    });
}

void Server::Private::tellFigures()
{
    figures.expires_after(figuresEvery);
    figures.async_wait([this](boost::system::error_code ended) {
        if (ended) return;
        Panel &panel = context->panel;
        if (panel.events.clients() > 0) {
            const auto state = panel.watch.state();
            QJsonObject told;
            if (state->running) {
                constexpr int lookEvery = 4; // once a second: the daemon may be another one
                if (countersOf++ % lookEvery == 0) counters.open();
                for (const auto &counter : counters.counters())
                    told[counter.name] = counter.value;
            }
            panel.events.tellFigures(told);
        }
        tellFigures();
    });
}

void Server::run()
{
    d->accept();
    d->tellFigures();
    d->io.run();
}

void Server::stop()
{
    d->io.stop();
}

void Server::close()
{
    if (!d) return;
    d->io.stop();
    if (d->context) {
        d->context->isEnding = true;
        d->context->files.stop();
    }
    d->context.reset(); // what is left of it is held by connections, which go with the loop
    d.reset();
}
