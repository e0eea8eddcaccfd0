// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/control/deckstate.h"
#include "platform/control/verbs.h"

#include <QByteArray>
#include <QMap>
#include <QString>

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

/// The words of Open Sound Control, without its socket: packets in, orders out; states in, packets out.
namespace OscLanguage {

constexpr int deepestBundle = 8;
constexpr qsizetype longestPacket = 8192;

struct Asked
{
    enum Kind { Verb, Subscribe, Unsubscribe } kind = Verb;
    QString verb;
    QMap<QString, QString> arguments;
    int rate = 0; ///< of a subscription, states a second
};

/// Every message of a packet, in its order; nothing when any part of the packet cannot be read, or names or
/// asks what there is not: of a damaged packet nothing is done. Any bytes.
std::optional<std::vector<Asked>> parse(std::span<const std::uint8_t> packet);

/// A bundle with a message "/xp/state/NAME value" for each field.
QByteArray state(const QJsonObject &fields);
/// "/xp/told" with a verb that only tells something, and what.
QByteArray told(const QString &verb, const QString &sentence);
/// "/xp/refused" with verb, code and sentence.
QByteArray refused(const QString &verb, const QString &code, const QString &sentence);

} // namespace OscLanguage
