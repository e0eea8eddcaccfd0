// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "companions/remote/deck/deckview.h"

#include <QtGlobal>

#include <deque>
#include <functional>
#include <optional>

/// The orders of one controller, done one after the other: the next is handed on when the one before has been
/// given. (Each is done by whichever worker is free: handed on sooner, a later one could overtake.) An order
/// that waits for its effect lets the others pass from then on, since whatever comes takes its place; one
/// that does not is given only when it is answered.
///
/// Bound: 64 orders. A speed that still waits gives way to the next speed (remote controls send one a field);
/// what does not fit is refused and counted by the caller. Where it is handed to may be busy: it is offered
/// again for a second. Time is an argument, in nanoseconds. One thread.
class OrderQueue
{
public:
    static constexpr std::size_t bound = 64;

    using Hand = std::function<void(const DeckOrder &)>;
    explicit OrderQueue(Hand hand) : _hand(std::move(hand)) {}

    /// False when it does not fit.
    bool push(const DeckOrder &order, qint64 now);
    /// An order that was handed on has been given.
    void given(quint64 id, qint64 now);
    /// The end of an order that was handed on; true when it is to be told, false when it will be tried again.
    bool answered(const DeckAnswer &answer, qint64 now);
    /// When retry() is to be called.
    std::optional<qint64> deadline() const { return _retryAt; }
    void retry(qint64 now);

private:
    void next(qint64 now);

    struct Waiting
    {
        DeckOrder order;
        qint64 since;
    };
    const Hand _hand;
    std::deque<Waiting> _orders;     ///< not handed on
    std::optional<Waiting> _running; ///< handed on, and the next waits for it
    std::deque<Waiting> _passed;     ///< handed on, waiting for their effects
    std::optional<qint64> _retryAt;
};
