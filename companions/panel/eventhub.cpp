// SPDX-License-Identifier: GPL-3.0-or-later
#include "companions/panel/eventhub.h"
#include "platform/product/programtext.h"

#include <QJsonDocument>
#include <QTimeZone>
#include <QUuid>

#include <algorithm>

EventClient::~EventClient() = default;

namespace {
std::shared_ptr<const QByteArray> compact(const QJsonObject &object)
{
    return std::make_shared<const QByteArray>(QJsonDocument(object).toJson(QJsonDocument::Compact));
}
} // namespace

EventHub::EventHub(DeckWatch &watch, std::function<void(std::function<void()>)> post)
    : _watch(watch),
      _post(std::move(post)),
      _boot(QUuid::createUuid().toString(QUuid::Id128)),
      _told(watch.state())
{
    _listener = _watch.addListener([this, offered = _isOffered](const auto &, const auto &) {
        // (What comes before the server has taken the last one goes with it.)
        if (!offered->exchange(true)) _post([this] { take(); });
    });
}

EventHub::~EventHub()
{
    _watch.removeListener(_listener);
}

void EventHub::take()
{
    *_isOffered = false;
    const DeckWatch::State now = _watch.state();
    if (now->revision == _told->revision) return;
    const QJsonObject changed = now->changesSince(*_told);
    _told = now;
    if (changed.isEmpty()) return;
    ++_seq;
    // (Put together as text: a document of documents would be copied into itself.)
    const auto text = std::make_shared<const QByteArray>(
        R"({"type":"delta","seq":)" + QByteArray::number(_seq) + R"(,"changed":)" +
        QJsonDocument(changed).toJson(QJsonDocument::Compact) + '}');
    _deltas.push_back({_seq, text});
    if (_deltas.size() > keptDeltas) _deltas.pop_front();
    tell(text, "delta", _seq);
}

void EventHub::tell(const std::shared_ptr<const QByteArray> &message, const char *kind, quint64 seq)
{
    // A client may go while it is told.
    const auto clients = _clients;
    for (const auto &weak : clients)
        if (const auto client = weak.lock()) client->send(message, kind, seq);
}

void EventHub::subscribe(const std::shared_ptr<EventClient> &client, std::optional<quint64> since,
                         const QString &boot)
{
    _clients.push_back(client);
    if (!_following) _following = _watch.follow();
    client->send(compact({{"type", "hello"},
                          {"boot", _boot},
                          {"version", recorderVersion()},
                          {"zone", QString::fromLatin1(QTimeZone::systemTimeZoneId())},
                          {"seq", qint64(_seq)}}),
                 "hello", 0);
    const bool isSameRun = since && (boot.isEmpty() || boot == _boot) && *since <= _seq;
    const bool isKept =
        isSameRun && (*since == _seq || (!_deltas.empty() && _deltas.front().seq <= *since + 1));
    if (!isKept) {
        client->send(compact({{"type", "snapshot"}, {"seq", qint64(_seq)}, {"state", _told->toJson()}}),
                     "snapshot", _seq);
        return;
    }
    for (const Delta &delta : _deltas)
        if (delta.seq > *since) client->send(delta.text, "delta", delta.seq);
}

void EventHub::unsubscribe(const EventClient *client)
{
    std::erase_if(_clients, [client](const auto &weak) {
        const auto known = weak.lock();
        return !known || known.get() == client;
    });
    if (_clients.empty()) _following.reset();
}

void EventHub::tellFigures(const QJsonObject &counters)
{
    tell(compact({{"type", "counters"}, {"counters", counters}}), "counters", 0);
}
