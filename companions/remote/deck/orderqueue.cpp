// SPDX-License-Identifier: GPL-3.0-or-later
#include "companions/remote/deck/orderqueue.h"

#include "platform/qmx/core/qmxclock.h"

#include <algorithm>

namespace {
constexpr qint64 retryEvery = 10 * QmxClock::nsPerMillisecond;
constexpr qint64 retryFor = QmxClock::nsPerSecond;
} // namespace

bool OrderQueue::push(const DeckOrder &order, qint64 now)
{
    const bool isSpeed = order.verb == QLatin1String("play");
    if (isSpeed && !_orders.empty() && _orders.back().order.verb == order.verb) _orders.pop_back();
    if (_orders.size() >= bound) return false;
    _orders.push_back({order, now});
    if (!_running && !_retryAt) next(now);
    return true;
}

void OrderQueue::next(qint64)
{
    while (!_running && !_orders.empty()) {
        _running = _orders.front();
        _orders.pop_front();
        const DeckOrder order = _running->order;
        _hand(order);
    }
}

void OrderQueue::given(quint64 id, qint64 now)
{
    if (!_running || _running->order.id != id || !_running->order.wait) return;
    _passed.push_back(*std::exchange(_running, std::nullopt));
    if (!_retryAt) next(now);
}

bool OrderQueue::answered(const DeckAnswer &answer, qint64 now)
{
    std::optional<Waiting> ended;
    const auto passed = std::find_if(_passed.begin(), _passed.end(),
                                     [&answer](const Waiting &one) { return one.order.id == answer.id; });
    if (passed != _passed.end()) {
        ended = *passed;
        _passed.erase(passed);
    } else if (_running && _running->order.id == answer.id) {
        ended = std::exchange(_running, std::nullopt);
    }
    if (ended && answer.code == QLatin1String("busy") && now - ended->since < retryFor) {
        _orders.push_front(*ended);
        _retryAt = now + retryEvery;
        return false;
    }
    if (!_retryAt) next(now);
    return true;
}

void OrderQueue::retry(qint64 now)
{
    if (!_retryAt || now < *_retryAt) return;
    _retryAt.reset();
    next(now);
}
