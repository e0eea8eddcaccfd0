// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxtaskthread.h"
#include "platform/qmx/edges/qmxscopes.h"
#include "platform/qmx/edges/qmxsink.h"

/// Makes scopes of what is shown, at a reduced rate, while somebody asks for them; else it costs a load of
/// one word a tick.
///
/// Threads: offer() on that of the preview; "qmx-scopes" measures. Its queue holds one picture; one that
/// comes meanwhile is left out.
class ScopeStage
{
public:
    ScopeStage(const QString &preview, const QmxEnvironment &environment);
    ScopeStage(const ScopeStage &) = delete;
    ScopeStage &operator=(const ScopeStage &) = delete;

    void offer(const QmxOutputFrame &frame);
    /// How often somebody has asked for scopes. Any thread.
    quint64 asked() const { return _writer.asked(); }

private:
    QmxScopesWriter _writer;
    std::unique_ptr<QmxScopes> _scopes = std::make_unique<QmxScopes>(); ///< the thread's
    quint64 _asked = 0;
    qint64 _until = -1; ///< tick
    qint64 _next = 0;
    QmxTaskThread _thread; ///< last: ends before what it uses
};
