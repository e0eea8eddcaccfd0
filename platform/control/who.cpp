// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/control/who.h"

#include <algorithm>
#include <array>
#include <pwd.h>
#include <unistd.h>

namespace {
constexpr FrontRow rows[] = {
    {"shell", false, "xpctl on this machine"},
    {"http", true, "browsers and programs, over HTTP"},
    {"line", true, "the line protocol"},
    {"osc", true, "Open Sound Control"},
    {"serial", true, "a controller on a serial line, or what carries one"},
};
} // namespace

std::span<const FrontRow> frontRows()
{
    return rows;
}

QString Who::identity() const
{
    return id.isEmpty() ? front + '/' + name + '/' + address : id;
}

QString Who::text() const
{
    return QStringLiteral("%1 (%2)").arg(name, address.isEmpty() ? front : front + ", " + address);
}

QJsonObject Who::toJson() const
{
    return {{"name", name}, {"front", front}, {"address", address}, {"id", identity()}};
}

Who Who::fromJson(const QJsonObject &object)
{
    return {object["name"].toString(), object["front"].toString(), object["address"].toString(),
            object["id"].toString()};
}

bool Who::isNetwork() const
{
    const auto row = std::find_if(std::begin(rows), std::end(rows),
                                  [this](const FrontRow &one) { return front == QLatin1String(one.name); });
    return row == std::end(rows) || row->isNetwork; // nobody knows it: with care
}

Who Who::atShell()
{
    constexpr size_t room = 4096;
    std::array<char, room> buffer{};
    passwd entry = {};
    passwd *found = nullptr;
    getpwuid_r(getuid(), &entry, buffer.data(), buffer.size(), &found);
    const QString name = found ? QString::fromLocal8Bit(found->pw_name) : QString::number(getuid());
    return {name, QStringLiteral("shell"), {}, QStringLiteral("shell/") + name, Role::Engineer};
}
