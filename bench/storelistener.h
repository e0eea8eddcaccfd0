// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QStringList>
#include <QtGlobal>

#include <sys/types.h>

/// What a listening process has heard, and when (CLOCK_MONOTONIC, which all processes share).
struct Heard
{
    qint64 ns = 0;
    quint32 value = 0;
};

/// Another process that listens for changes: this program, started with a role.
///
/// Roles: `ours URI`, a client of the store; `bare DATABASE SOCKET [PORT]`, one datagram and one select for
/// each change, and a line to whoever listens at PORT of this machine; `bare-redis PORT`, one XREAD.
class StoreListener
{
public:
    explicit StoreListener(const QStringList &role);
    ~StoreListener();
    StoreListener(const StoreListener &) = delete;
    StoreListener &operator=(const StoreListener &) = delete;

    /// False when nothing has come in time.
    bool next(Heard &heard, int milliseconds = 5000);

private:
    pid_t _pid = -1;
    int _fd = -1;
};

qint64 monotonicNs();
/// The child's main(): `arguments` are the role's. Ends with the process.
int runStoreListener(const QStringList &arguments);
