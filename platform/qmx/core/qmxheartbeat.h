// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

#include <atomic>

/// A part of the program that has to move as long as it exists, such as the video clock. Whoever feeds the
/// service manager's watchdog asks silent() before: an event loop that turns is not enough.
class QmxHeartbeat
{
public:
    explicit QmxHeartbeat(const QString &name);
    ~QmxHeartbeat();
    QmxHeartbeat(const QmxHeartbeat &) = delete;
    QmxHeartbeat &operator=(const QmxHeartbeat &) = delete;

    /// Any thread.
    void beat() { _beats.fetch_add(1, std::memory_order_relaxed); }
    /// The name of a part that has not beaten between the call before and this one; empty when all have. One
    /// that began since then is not asked yet. One thread.
    static QString silent();

private:
    const QString _name;
    std::atomic<quint64> _beats = 1;
    quint64 _heard = 0;
};
