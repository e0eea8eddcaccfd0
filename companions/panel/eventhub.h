// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/control/deckwatch.h"

#include <QByteArray>

#include <deque>
#include <functional>
#include <memory>
#include <vector>

/// Somebody who hears events. On the server's thread.
class EventClient
{
public:
    virtual ~EventClient();
    /// A message as JSON, the same bytes for all clients. `seq` of a snapshot or delta; 0: it has none.
    virtual void send(const std::shared_ptr<const QByteArray> &message, const char *kind, quint64 seq) = 0;
};

/// What clients of events are told: hello, a snapshot or the deltas they missed, then each delta with its
/// number, and the recorder's figures four times a second. A delta is made once for all clients. The last
/// deltas are kept, so that a client that comes back within seconds needs no snapshot.
///
/// The server's thread; the deck's state is handed over by offer(), from any thread.
class EventHub
{
public:
    /// `post` runs a function on the server's thread.
    EventHub(DeckWatch &watch, std::function<void(std::function<void()>)> post);
    ~EventHub();
    EventHub(const EventHub &) = delete;
    EventHub &operator=(const EventHub &) = delete;

    /// Tells the client what it lacks. `since` is the last number it has seen of the run `boot` of this
    /// program; with another one, or too old a number, it gets a snapshot.
    void subscribe(const std::shared_ptr<EventClient> &client, std::optional<quint64> since,
                   const QString &boot);
    void unsubscribe(const EventClient *client);
    int clients() const { return int(_clients.size()); }
    /// Names this run of the program.
    QString boot() const { return _boot; }
    /// Called four times a second while there are clients.
    void tellFigures(const QJsonObject &counters);

    static constexpr size_t keptDeltas = 512;

private:
    struct Delta
    {
        quint64 seq;
        std::shared_ptr<const QByteArray> text;
    };
    void take();
    void tell(const std::shared_ptr<const QByteArray> &message, const char *kind, quint64 seq);

    DeckWatch &_watch;
    const std::function<void(std::function<void()>)> _post;
    const QString _boot;
    std::vector<std::weak_ptr<EventClient>> _clients;
    std::deque<Delta> _deltas;
    DeckWatch::State _told;
    quint64 _seq = 1;
    std::shared_ptr<void> _following; ///< while there are clients
    std::shared_ptr<std::atomic<bool>> _isOffered = std::make_shared<std::atomic<bool>>(false);
    int _listener = 0;
};
