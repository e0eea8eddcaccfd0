// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/store/heardchange.h"
#include "platform/store/storefiles.h"

#include <QtGlobal>

#include <string>
#include <utility>
#include <vector>

#include <sys/types.h>
#include <sys/un.h>

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
    bool isListening() const { return _listener >= 0; }
    /// Opens it again when its file has gone.
    void keepAlive();
    /// Takes what has arrived; false: nothing had.
    bool drain();
    /// Tells every listener of the store that it has changed up to `version`; with the change itself where
    /// it is one.
    void send(quint64 version);
    void send(const HeardChange &change);
    /// A command for every listener, which does not stand in the store; false when nobody got it.
    bool sendUrgent(const StoreWrite &command);
    /// Those that have arrived, each once.
    std::vector<StoreWrite> takeUrgent() { return std::exchange(_urgent, {}); }
    /// The changes that have arrived, each once.
    HeardChanges takeHeard() { return std::exchange(_heard, {}); }

private:
    /// Tells whether an entry has come or gone; only a settled one tells it surely.
    struct FolderState
    {
        dev_t device = 0;
        ino_t inode = 0;
        qint64 changedNs = 0; ///< of wall time
        bool settled = false; ///< nothing came or went for a while
        friend bool operator==(const FolderState &, const FolderState &) = default;
    };
    struct Listener
    {
        sockaddr_un address;
        std::string path;
    };
    FolderState folderState() const;
    bool openSender();
    void lookForListeners();
    int sendToAll(const std::string &text);
    void hear(std::string_view text);
    void hearUrgent(std::string_view text);

    StoreFiles _files;
    std::vector<Listener> _others; ///< who listened at the last look, this object too
    FolderState _looked;           ///< the folder's at that time
    int _folder = -1;              ///< names the sockets by a short path
    std::string _name;             ///< file name of the own socket; empty: not listening
    int _listener = -1;
    int _sender = -1;
    std::vector<StoreWrite> _urgent;
    HeardChanges _heard;
};
