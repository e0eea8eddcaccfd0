// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

#include <optional>

/// What somebody may do, each including those before it: look; operate the deck; change how the machine
/// works.
enum class Role { Nobody, View, Operate, Engineer };

/// "view", "operate", "engineer"; "nobody"
QString roleName(Role role);
/// The three that can be given to somebody.
std::optional<Role> roleNamed(const QString &name);
