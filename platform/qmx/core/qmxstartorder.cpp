// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/core/qmxstartorder.h"

#include <QStringList>

#include <utility>

namespace {

constexpr int words = 4; // place, value, bounds; then the name, which may hold blanks

} // namespace

QString QmxStartOrder::toText() const
{
    const char *const names[] = {"frame", "output", "live"};
    const QString value = place == Place::Live ? QString::number(seconds) : QString::number(frame);
    const QString bounds = isPart() ? QStringLiteral("%1-%2").arg(first).arg(end) : QStringLiteral("-");
    return QStringLiteral("%1 %2 %3 %4").arg(QLatin1String(names[int(place)]), value, bounds, clip);
}

std::optional<QmxStartOrder> QmxStartOrder::fromText(const QString &text)
{
    QmxStartOrder order;
    const QStringList parts = text.split(QLatin1Char(' '));
    if (parts.size() < words) return {};
    order.clip = parts.mid(words - 1).join(QLatin1Char(' '));
    bool isNumber = false;
    if (parts[0] == QLatin1String("live")) {
        order.place = Place::Live;
        order.seconds = parts[1].toDouble(&isNumber);
        isNumber = isNumber && order.seconds >= 0;
    } else {
        order.place = parts[0] == QLatin1String("output") ? Place::Output : Place::Frame;
        order.frame = parts[1].toLongLong(&isNumber);
        isNumber = isNumber && order.frame >= 0 &&
                   (order.place == Place::Output || parts[0] == QLatin1String("frame"));
    }
    if (parts[2] != QLatin1String("-")) {
        const QStringList bounds = parts[2].split(QLatin1Char('-'));
        bool hasFirst = false;
        bool hasEnd = false;
        order.first = bounds[0].toLongLong(&hasFirst);
        order.end = bounds.value(1).toLongLong(&hasEnd);
        if (!hasFirst || !hasEnd || order.first < 0 || !order.isPart()) return {};
    }
    return isNumber && !order.clip.isEmpty() ? std::optional(order) : std::nullopt;
}

void QmxStartOrders::give(const QmxStartOrder &order)
{
    const std::lock_guard lock(_mutex);
    _order = order;
}

std::optional<QmxStartOrder> QmxStartOrders::take(const QString &path)
{
    const std::lock_guard lock(_mutex);
    std::optional<QmxStartOrder> order = std::exchange(_order, std::nullopt);
    if (order && order->clip != path.section(QLatin1Char('/'), -1)) order.reset();
    return order;
}
