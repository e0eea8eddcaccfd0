// SPDX-License-Identifier: GPL-3.0-or-later
// Who is in control.
#include "platform/control/ownership.h"
#include "platform/control/recorder.h"

namespace {
std::chrono::seconds length(const VerbCall &call)
{
    return std::chrono::seconds(call.integer("seconds", int(Ownership::defaultLength.count())));
}
} // namespace

Answer performTakeControl(const VerbCall &call)
{
    return Ownership(call.recorder).takeControl(call.who, length(call), call.request.force);
}

Answer performReleaseControl(const VerbCall &call)
{
    return Ownership(call.recorder).releaseControl(call.who, call.request.force);
}

Answer performLock(const VerbCall &call)
{
    return Ownership(call.recorder).lock(call.who, length(call));
}

Answer performUnlock(const VerbCall &call)
{
    return Ownership(call.recorder).unlock(call.who, call.request.force);
}

Answer performRemote(const VerbCall &call)
{
    return Ownership(call.recorder).setMode(call.who, false);
}

Answer performLocal(const VerbCall &call)
{
    return Ownership(call.recorder).setMode(call.who, true);
}
