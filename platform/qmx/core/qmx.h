// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxmemorypool.h"

#include <QMetaType>

#include <functional>

/// The framework as a whole.
namespace Qmx {

/// Once, with 1, before all else of the framework and after the application object exists: registers the
/// value types for queued signals, ignores SIGPIPE (when its action is the default) and connects the end of
/// the program. At aboutToQuit, before anybody else, the quit steps run; then the loop turns until no
/// operation (QmxOperations) is in progress and the last command has had time to act, at most 10 s. From
/// then on an operation that hangs for 20 s is named in the log, open clips are made durable and the process
/// ends with status 1. (The counters are published by whoever opens the video device.)
void init(int interfaceVersion);

/// Runs `step` at the start of the end (aboutToQuit), on the event loop, in the order of the calls: the
/// store stops delivering, for example.
void addQuitStep(std::function<void()> step);

/// The kernel's out-of-memory adjustment of this process on the old scale: -17 never chosen, 15 chosen
/// first. No right to it: nothing happens.
void setOOMAdjust(int adjustment);
/// Bytes of memory in this machine.
quint64 totalSystemMemorySize();
/// A hint for the pool's limit, see QmxMemoryPool::reserve().
void poolReserve(unsigned int bytes);
QmxMemoryPool *pool();

/// Registers a value type of another library with init(): one object at namespace scope next to the type:
/// `static const Qmx::ValueTypes registered([] { qRegisterMetaType<QmxPlayList>("QmxPlayList"); });`
class ValueTypes
{
public:
    explicit ValueTypes(void (*registration)());
};

} // namespace Qmx
