// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxenvironment.h"

#include <QList>
#include <QString>

#include <optional>

/// The recorders of one machine, and how a program that looks in from outside becomes one of one of them. A
/// channel other than the first exists when it has its folder of settings (QmxPlaces::settings).
namespace QmxChannel {

/// Numbers of all that exist, in order; the first one always does. Any thread.
QList<int> all();
bool exists(int channel);

/// The current environment with places and files of that channel.
QmxEnvironment environmentOf(int channel);

/// "1,3" or "all": the channels that exist of them, in order; nothing and a sentence in `problem` when the
/// text names none or one that does not exist.
std::optional<QList<int>> parseList(const QString &text, QString &problem);

/// "2" as it is given on a command line or in XP_CHANNEL (empty: the first one): from here on places and
/// files of the current environment are those of that channel. Empty when it is done; else what is wrong and
/// what to do. Main thread, before the first object exists.
QString enter(const QString &channel);

} // namespace QmxChannel
