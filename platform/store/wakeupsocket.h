// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/store/storefiles.h"

#include <QtGlobal>

#include <string>

/// Tells listeners in other processes, and in this one, that a store has changed. Only a hint: a listener
/// that misses one looks by itself soon after. A listener that is stopped costs the sender nothing, one that
/// has died loses its socket file. One thread at a time.
class WakeupSocket
{
public:
    explicit WakeupSocket(const StoreFiles &files);
    ~WakeupSocket();
    WakeupSocket(const WakeupSocket &) = delete;
    WakeupSocket &operator=(const WakeupSocket &) = delete;

    /// Opens the listening end; its descriptor, or -1.
    int listen();
    /// Opens it again when its file has gone.
    void keepAlive();
    void drain();
    /// Sends to every listener of the store.
    void send(quint64 version);

private:
    bool openSender();

    StoreFiles _files;
    std::string _name; ///< file name of the own socket; empty: not listening
    int _listener = -1;
    int _sender = -1;
};
