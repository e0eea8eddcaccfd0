// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/control/role.h"

#include <QJsonObject>
#include <QString>

#include <span>

/// Somebody who operates the recorder, through some front. A value.
struct Who
{
    QString name;    ///< for people: an account, a login name
    QString front;   ///< a row of frontRows()
    QString address; ///< of the peer, as the front knows it: "192.0.2.7", "/dev/ttyUSB0"; may be empty
    QString id; ///< the same for as long as it is the same operator; empty: front, name and address are it
    Role role = Role::Operate; ///< what this one may do; not written down

    QString identity() const;
    /// "anna (http, 192.0.2.7)"
    QString text() const;
    QJsonObject toJson() const;
    static Who fromJson(const QJsonObject &object);
    bool isNetwork() const;
    /// Who runs this process, at a shell.
    static Who atShell();
};

struct FrontRow
{
    const char *name;
    bool isNetwork; ///< reached over a network or a control line, not by sitting at the machine
    const char *help;
};
std::span<const FrontRow> frontRows();
