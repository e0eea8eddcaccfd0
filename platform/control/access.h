// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

/// Whether this process may operate the recorder: its services' files belong to a group.
namespace Access {
/// The account that the services run as, and the group of those who may operate.
inline constexpr auto account = "xp";

/// There is such a group on this machine. Without one everybody is on his own.
bool hasGroup();
/// Root, a member of the group, or there is none.
bool isOperator();
/// "the account anna is not in the group xp, ..."
QString refusal();
/// What an administrator does about it.
QString advice();
/// A problem of the store, as whoever has it is told: one that is not let in has no use for the files that he
/// was kept from.
QString told(const QString &problem);
} // namespace Access
