// SPDX-License-Identifier: GPL-3.0-or-later
#include "companions/remote/lineport.h"

#include "companions/remote/text/linelanguage.h"
#include "companions/remote/text/linereader.h"
#include "platform/qmx/core/qmxclock.h"
#include "platform/qmx/core/qmxloglevel.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <deque>
#include <set>
#include <unistd.h>

namespace {
constexpr const char *module = "line";
constexpr qint64 openEvery = 500 * QmxClock::nsPerMillisecond;
constexpr qsizetype outBound = 256 * 1024;
constexpr qint64 mostBytes = 4096; ///< in a window
/// Lines that wait for the one that is being done; more are not read.
constexpr std::size_t mostLines = 16;
constexpr int stateCode = 201, helpCode = 202, clipsCode = 203;
const QString tooManyCalls = QStringLiteral("132 busy: there are as many clients as this port can have\r\n");
} // namespace

struct LinePort::Client
{
    RemoteFd fd;
    QString name;
    Who who;
    RemotePeer *counts = nullptr;
    std::unique_ptr<LineReader> reader;
    OutBuffer out{outBound};
    ReadPace pace{mostBytes};
    std::deque<QString> lines;
    bool isBusy = false;     ///< a line is being done
    bool saysNoMore = false; ///< has closed its half: it is owed the answers to what it said
    bool hasEnded = false;
    std::set<int> topics; ///< codes
    std::shared_ptr<const DeckState> told;
    qint64 readAt = 0;
    const std::shared_ptr<bool> alive = std::make_shared<bool>(true);
};

LinePort::LinePort(const RemotePortConfig &config, RemoteContext &context)
    : _config(config), _context(context)
{
    open();
}

LinePort::~LinePort() = default;

void LinePort::open()
{
    QString problem;
    _listener = Sockets::listenTcp(_config.host, _config.port, problem);
    _openAt = _listener.isOpen() ? std::nullopt : std::optional(_context.now() + openEvery);
    if (_listener.isOpen())
        qmxLogOutput(QmxLogLevel::Info, module, __LINE__, "%s is open\n", qPrintable(_config.place));
    else if (problem != _problem)
        qmxLogOutput(QmxLogLevel::Warning, module, __LINE__, "%s; it is tried again until it can be\n",
                     qPrintable(problem));
    _problem = problem;
}

void LinePort::wants(std::vector<pollfd> &polls) const
{
    if (_listener.isOpen() && !_calls.pausedUntil(_context.now()))
        polls.push_back({_listener.fd(), POLLIN, 0});
    for (const auto &client : _clients) {
        const bool reads = !client->saysNoMore && client->lines.size() < mostLines &&
                           !client->pace.pausedUntil(_context.now());
        const bool writes = !client->out.isEmpty();
        polls.push_back({client->fd.fd(), short((reads ? POLLIN : 0) | (writes ? POLLOUT : 0)), 0});
    }
}

std::optional<qint64> LinePort::deadline() const
{
    std::optional<qint64> first = _openAt;
    const auto consider = [&first](std::optional<qint64> one) {
        if (one && (!first || *one < *first)) first = one;
    };
    consider(_calls.pausedUntil(_context.now()));
    for (const auto &client : _clients)
        consider(client->pace.pausedUntil(_context.now()));
    return first;
}

void LinePort::ready(const pollfd &event)
{
    if (event.fd == _listener.fd()) return accept();
    const auto at = std::find_if(_clients.begin(), _clients.end(),
                                 [&event](const auto &client) { return client->fd.fd() == event.fd; });
    if (at == _clients.end()) return;
    if (event.revents & POLLOUT && !(*at)->out.flush(event.fd)) (*at)->hasEnded = true;
    if (event.revents & (POLLIN | POLLHUP | POLLERR)) read(**at);
    removeEnded();
}

void LinePort::accept()
{
    _calls.took(1, _context.now());
    QString name;
    RemoteFd fd = Sockets::accept(_listener.fd(), name);
    if (!fd.isOpen()) return;
    if (_clients.size() >= mostClients) {
        OutBuffer(0).write(fd.fd(), tooManyCalls.toUtf8());
        return;
    }
    auto client = std::make_unique<Client>();
    client->fd = std::move(fd);
    client->name = name;
    const QString host = name.section(QLatin1Char(':'), 0, -2);
    client->who = {name, QStringLiteral("line"), host, QStringLiteral("line/") + name, _config.verbs};
    client->counts = &_context.statistics().peer(_config.place, host);
    Client *const self = client.get();
    client->reader = std::make_unique<LineReader>(
        [self](const QString &text) { self->lines.push_back(text); },
        [this, self](LineReader::Bad bad) {
            self->counts->add(RemotePeer::Malformed);
            const bool isLong = bad == LineReader::Bad::TooLong;
            reply(*self, LineLanguage::reply(Answer::refused(
                             Cause::Argument, isLong ? "line_too_long" : "not_text",
                             isLong ? QStringLiteral("a line has at most %1 bytes").arg(LineReader::longest)
                                    : QStringLiteral("a line is UTF-8 without NUL"))));
        });
    _clients.push_back(std::move(client));
}

void LinePort::read(Client &client)
{
    std::array<char, 4096> bytes; // a flood is taken in turns
    const ssize_t count = ::read(client.fd.fd(), bytes.data(), bytes.size());
    client.readAt = _context.now();
    if (count < 0 && (errno == EAGAIN || errno == EINTR)) return;
    if (count == 0 && !client.saysNoMore) {
        client.saysNoMore = true;
        return;
    }
    if (count <= 0) {
        client.hasEnded = true;
        return;
    }
    client.pace.took(count, client.readAt);
    client.reader->feed(QByteArray(bytes.data(), count));
    next(client);
}

void LinePort::next(Client &client)
{
    while (!client.isBusy && !client.hasEnded && !client.lines.empty()) {
        const QString text = client.lines.front();
        client.lines.pop_front();
        line(client, text);
    }
}

void LinePort::line(Client &client, const QString &text)
{
    const LineLanguage::Asked asked = LineLanguage::parse(text);
    if (asked.verb.isEmpty()) return;
    if (asked.wrong) {
        client.counts->add(RemotePeer::Undefined);
        return reply(client, LineLanguage::reply(*asked.wrong));
    }
    if (asked.isOwn) return own(client, asked.verb, asked.arguments);
    client.isBusy = true;
    client.counts->add(RemotePeer::Orders);
    const std::weak_ptr<bool> alive = client.alive;
    const DeckOrder order{asked.verb, asked.arguments, asked.force, asked.wait, 0};
    _context.perform(order, client.who, [this, &client, alive, verb = asked.verb](const Answer &answer) {
        if (alive.expired()) return;
        client.isBusy = false;
        if (!answer.isDone()) client.counts->add(RemotePeer::Refusals);
        client.readAt = 0; // a time that is the recorder's, not this port's
        reply(client, LineLanguage::reply(verb, answer));
        next(client);
    });
}

void LinePort::own(Client &client, const QString &word, const QMap<QString, QString> &arguments)
{
    if (word == QLatin1String("ping")) return reply(client, LineLanguage::reply(Answer::done()));
    if (word == QLatin1String("help"))
        return reply(client, LineLanguage::block(helpCode, QStringLiteral("help"), LineLanguage::help()));
    if (word == QLatin1String("state"))
        return reply(client, LineLanguage::block(stateCode, QStringLiteral("state"),
                                                 LineLanguage::lines(_context.state()->toJson())));
    if (word == QLatin1String("notify")) return notify(client, arguments);
    if (word == QLatin1String("quit")) {
        client.hasEnded = true;
        return;
    }
    client.isBusy = true;
    const std::weak_ptr<bool> alive = client.alive;
    _context.listClips([this, &client, alive](const QStringList &lines) {
        if (alive.expired()) return;
        client.isBusy = false;
        reply(client, LineLanguage::block(clipsCode, QStringLiteral("clips"), lines));
        next(client);
    });
}

void LinePort::notify(Client &client, const QMap<QString, QString> &arguments)
{
    for (const LineLanguage::Topic &topic : LineLanguage::topics()) {
        const QString name = QLatin1String(topic.name);
        if (!arguments.contains(name)) continue;
        if (arguments[name] == QLatin1String("true"))
            client.topics.insert(topic.code);
        else
            client.topics.erase(topic.code);
    }
    client.told = _context.state();
    reply(client, LineLanguage::reply(Answer::done()));
}

void LinePort::reply(Client &client, const QByteArray &bytes)
{
    if (!client.out.write(client.fd.fd(), bytes)) {
        client.counts->add(RemotePeer::Dropped);
        client.hasEnded = true;
        return;
    }
    client.counts->add(RemotePeer::Replies);
    if (client.readAt != 0) client.counts->reply.add(QmxClock::Duration(_context.now() - client.readAt));
}

/// What differs from what the client was told last, however long ago that was.
void LinePort::tellNews(Client &client)
{
    const auto now = _context.state();
    if (client.topics.empty() || !client.out.isEmpty() || client.told == now) return;
    const QJsonObject changes = now->changesSince(*client.told);
    client.told = now;
    for (const LineLanguage::Topic &topic : LineLanguage::topics()) {
        const QJsonObject part = LineLanguage::ofTopic(changes, topic);
        if (part.isEmpty() || !client.topics.contains(topic.code)) continue;
        const QByteArray bytes =
            LineLanguage::block(topic.code, QLatin1String(topic.name), LineLanguage::lines(part));
        if (!client.out.write(client.fd.fd(), bytes)) client.hasEnded = true;
    }
}

void LinePort::look()
{
    if (_openAt && _context.now() >= *_openAt) open();
    const quint64 revision = _context.state()->revision;
    if (revision != _revision)
        for (const auto &client : _clients)
            tellNews(*client);
    _revision = revision;
    removeEnded();
}

void LinePort::removeEnded()
{
    _clients.remove_if([](const auto &client) {
        const bool isServed = !client->isBusy && client->lines.empty() && client->out.isEmpty();
        return client->hasEnded || (client->saysNoMore && isServed);
    });
}
