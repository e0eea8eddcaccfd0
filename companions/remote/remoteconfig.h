// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "companions/remote/ninepin/ninepinsession.h"
#include "platform/control/role.h"

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>

/// One row of [ports]: what is spoken, and where.
struct RemotePortConfig
{
    enum class Protocol : std::uint8_t { Ninepin, Line, Osc };

    Protocol protocol = Protocol::Line;
    QString place;  ///< as written: "/dev/ttyUSB0", "tcp:9901"
    QString device; ///< of a terminal; else empty
    QString host;   ///< numeric address that is listened on
    quint16 port = 0;
    int channel = 1;            ///< whose deck it is
    Role verbs = Role::Operate; ///< what who comes by this port may do; nobody there is asked for a name
    NinepinOptions ninepin;
};

/// The file that says which ports there are. A line that makes no sense is told and leaves the others alone.
struct RemoteConfig
{
    static constexpr int mostPorts = 32;

    QList<RemotePortConfig> ports; ///< of all channels
    QStringList problems;          ///< a sentence each: which line, what is wrong, what to write

    /// Any bytes.
    static RemoteConfig parse(const QByteArray &text);
    /// Of a file; one that cannot be read is a problem, too.
    static RemoteConfig load(const QString &path);
};
