// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/store/configeventlistener.h"
#include "platform/store/eparam.h"
#include "platform/store/paramdescriptor.h"

#include <QtGlobal>

#include <string>
#include <vector>

/// A line of the alarm history: an alarm was raised or cleared.
struct AlarmRecord
{
    eParam_t id{};
    bool raised = false;
    int severity = 0; ///< 0 information, 1 warning, 2 error
    std::string message;
    timeval time{};
    std::string source;
};

/// One user's access to the configuration store; made by ConfigFactoryImpl, owned by the caller.
///
/// Threads: every member may be called from any thread, the destructor from any but a listener's call. A
/// queued object (the daemon's) never waits: a write is checked, queued and true when it was accepted, and
/// reads come from memory and see every write of the same process. A direct object (the companions') waits:
/// a write has been committed when the call returns true. The store's threads are "store-write" (commits
/// queued writes), "store-events" (reads changes, calls listeners) and "store-care" (checkpoints, backups).
///
/// A read of a parameter nobody has written gives its default. When the store cannot be read the last known
/// value, else the default is given and the call is false, as it is for a wrong kind (which leaves the out
/// value alone) and an unknown id.
class Config
{
public:
    virtual ~Config();

    virtual bool setUInt(eParam_t id, unsigned value) = 0;
    virtual bool getUInt(eParam_t id, unsigned &value) = 0;
    virtual bool setString(eParam_t id, const std::string &value) = 0;
    virtual bool getString(eParam_t id, std::string &value) = 0;
    virtual bool getData(eParam_t id, std::string &value) = 0;
    virtual bool setData(eParam_t id, const std::string &value) = 0;
    /// The listener hears what other clients write from now on, until this object is destroyed. There is no
    /// removal: the destructor returns when no call is in progress and none will come.
    virtual void addListener(ConfigEventListener *listener) = 0;
    virtual const ParamDescriptor *descriptor(eParam_t id) = 0;

    virtual bool setValue(eParam_t id, const StoreValue &value) = 0;
    virtual bool getValue(eParam_t id, StoreValue &value) = 0;
    /// Why the last call of this object that returned false did so: what is wrong, where, what to do.
    virtual std::string lastError() const = 0;
    /// Empty while the store can be reached, else the sentence for the operator.
    virtual std::string storeState() const = 0;
    /// Writes accepted and not yet committed (queued objects).
    virtual int pendingWrites() const = 0;
    /// The newest lines of the alarm history, oldest first. Waits for the disk: not for the event loop.
    virtual std::vector<AlarmRecord> alarmHistory(int newest) = 0;
};

/// Address of the configuration store and of its events (the same): the first line of /etc/xp/store, else
/// "sqlite:/var/lib/xp/store.db". `transport` plays no part.
std::string GetConfigURI(const std::string &transport);
std::string GetEventsURI(const std::string &transport);
