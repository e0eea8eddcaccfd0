// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/control/access.h"

#include <algorithm>
#include <vector>

#include <grp.h>
#include <pwd.h>
#include <unistd.h>

namespace {
QString thisAccount()
{
    const passwd *entry = getpwuid(geteuid());
    return entry ? QString::fromLocal8Bit(entry->pw_name) : QString::number(geteuid());
}
} // namespace

bool Access::hasGroup()
{
    return getgrnam(account) != nullptr;
}

bool Access::isOperator()
{
    const group *operators = getgrnam(account);
    if (geteuid() == 0 || !operators || getegid() == operators->gr_gid) return true;
    std::vector<gid_t> groups(size_t(std::max(0, getgroups(0, nullptr))));
    groups.resize(size_t(std::max(0, getgroups(int(groups.size()), groups.data()))));
    return std::find(groups.begin(), groups.end(), operators->gr_gid) != groups.end();
}

QString Access::refusal()
{
    return QStringLiteral("the account %1 is not in the group %2, whose members operate the recorder")
        .arg(thisAccount(), QLatin1String(account));
}

QString Access::told(const QString &problem)
{
    return problem.isEmpty() || isOperator() ? problem : refusal() + "; " + advice();
}

QString Access::advice()
{
    return QStringLiteral("as root: adduser %1 %2; then log in anew (who shall only look needs less: the "
                          "engineer's guide "
                          "says what)")
        .arg(thisAccount(), QLatin1String(account));
}
