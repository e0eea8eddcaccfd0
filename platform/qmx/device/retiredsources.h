// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxtaskthread.h"
#include "platform/qmx/edges/qmxsource.h"

#include <memory>

/// Where sources end that nobody shows any more: on the thread "lumen-retired", since a network or a driver
/// may take its time to let go, and neither the clock's thread nor one that codes may wait for it.
class RetiredSources
{
public:
    explicit RetiredSources(const QmxEnvironment &environment);
    /// Waits three seconds at most for those that are ending; what hangs is left behind.
    ~RetiredSources();

    /// Any thread; null: nothing.
    void take(std::unique_ptr<QmxSource> source);

private:
    const bool _stepped;
    QmxTaskThread _thread;
};
