// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>

#include <span>

/// Who takes part in a connection of the application.
enum class ConnectionParty {
    Main,
    Application,
    Config,
    ConfigUpdater,
    Media,
    Transport,
    Keyboard,
    Alarms,
    DebugServer
};

/// The step of construction after which a group of connections is made, since the objects then exist.
enum class ConnectionStage { Config, Media, Transport, Keyboard, Alarms, DebugServer };

/// One signal of one object, and the slot that it calls.
struct ConnectionRow
{
    int line; ///< number of the message that tells of a failure
    ConnectionStage stage;
    ConnectionParty sender;
    const char *signal;
    ConnectionParty receiver;
    const char *slot;
};

/// All connections that the application object makes, in the order in which it makes them.
std::span<const ConnectionRow> connectionTable();

/// The connect expression of a row as it is logged when it fails.
QByteArray connectExpression(const ConnectionRow &row);
