// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/control/deckstate.h"

#include <functional>
#include <memory>

/// Keeps the state of the deck: from the store's events, and (frame, timecode, counters) from shared memory
/// at the deck's own rate while anybody follows. Nothing polls the store. Nobody follows: the thread sleeps
/// until the store tells something.
///
/// Threads: "deck-watch" composes and publishes, of a single change the store's thread itself; "deck-clip"
/// asks the disk for the length of a clip. state() and refreshed() may be called from any thread.
class DeckWatch
{
public:
    using State = std::shared_ptr<const DeckState>;
    /// Called on the thread that published, after each publication, one call at a time; must be quick and
    /// must not wait.
    using Listener = std::function<void(const State &before, const State &now)>;

    /// `client` names this program to the store; it must not be the name under which it performs verbs, or it
    /// would not hear them. Returns when the first state is there.
    explicit DeckWatch(const QString &client);
    ~DeckWatch();
    DeckWatch(const DeckWatch &) = delete;
    DeckWatch &operator=(const DeckWatch &) = delete;

    /// The newest published state; waits for nobody. Fields of each frame are current only while somebody
    /// follows.
    State state() const;
    /// The state with what shared memory says now: for a single question when nobody follows. Does not wait
    /// for store or disk. Not published, so it has the revision of state().
    State refreshed() const;
    /// As long as the token lives, the fields of each frame are kept up to date. Any thread; the token may
    /// outlive this object.
    std::shared_ptr<void> follow();
    /// Returns an id for removeListener(), which returns when no call is in progress.
    int addListener(Listener listener);
    void removeListener(int id);

private:
    struct Private;
    std::unique_ptr<Private> d;
};
