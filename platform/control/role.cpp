// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/control/role.h"

namespace {
constexpr const char *names[] = {"nobody", "view", "operate", "engineer"};
} // namespace

QString roleName(Role role)
{
    return QString::fromLatin1(names[int(role)]);
}

std::optional<Role> roleNamed(const QString &name)
{
    for (const Role role : {Role::View, Role::Operate, Role::Engineer})
        if (roleName(role) == name) return role;
    return {};
}
