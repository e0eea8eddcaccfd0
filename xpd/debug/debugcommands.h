// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/stream/qmxplaylist.h"

#include <QString>

#include <functional>

class VtrObject;

/// What debug commands act on.
struct DebugCommandTarget
{
    VtrObject *vtr;
    std::function<QmxPlayList()> playListInUse;
    std::function<void(int index)> gotoClipByIndex;
    std::function<void()> closeConnection; ///< of the connection that sent the command
};

/// Runs one line of the debug language and returns its reply, which ends in a line feed.
///
/// The first word is the command, the second its argument, the rest is ignored. A number that cannot be
/// read falls back to the command's default; commands that the transport refuses show by the status line,
/// which is the reply of every command without a text of its own. Event loop only.
QString runDebugCommand(const QString &line, const DebugCommandTarget &target);
