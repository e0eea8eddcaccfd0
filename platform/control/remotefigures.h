// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QJsonObject>

/// What the program behind the ports for other machines (xpremote) publishes of itself.
namespace RemoteFigures {
bool isRunning();
/// {"problems": [text], "ports": [{"port", "problem"}], "peers": [{"port", "peer", counts ...}]}; empty when
/// it publishes nothing.
QJsonObject published();
} // namespace RemoteFigures
