// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/store/storecare.h"
#include "platform/store/storereader.h"
#include "platform/store/storewriter.h"

#include <atomic>
#include <memory>
#include <mutex>
#include <string>

/// One client of one store in this process, shared by all its Config objects: they see one memory and do not
/// hear one another. Owns the store's threads (see StoreWriter, StoreReader, StoreCare); the last user's
/// release ends them. Any thread.
class StoreClient
{
public:
    /// Null when the address is wrong.
    static std::shared_ptr<StoreClient> acquire(const std::string &uri, const std::string &client,
                                                bool queued);
    ~StoreClient();
    StoreClient(const StoreClient &) = delete;
    StoreClient &operator=(const StoreClient &) = delete;

    /// Queues or commits a value that has been checked; `error` says why not.
    bool write(const StoreWrite &write, std::string &error);
    /// True when the value is certain; else it is the last known one, or the default, and `error` says why.
    bool read(const ParamDescriptor &descriptor, StoreValue &value, std::string &error);
    void addListener(const void *owner, ConfigEventListener *listener);
    /// An object of this client goes: its listeners are not called any more and queued writes have had their
    /// time to be committed.
    void leave(const void *owner);
    void stopDelivering();
    /// Tells the listeners of a change that has come to this process by another way than the store. It is
    /// written nowhere.
    void deliverLocally(eParam_t id, const StoreValue &value);
    bool alarmHistory(int newest, std::vector<AlarmRecord> &records, std::string &error);
    std::string state() const { return _state->text(); }
    int pendingWrites() const { return _writer ? _writer->pending() : 0; }

private:
    StoreClient(const StoreBackendRow &row, const std::string &uri, const std::string &path,
                const std::string &client, bool queued);
    std::unique_ptr<StoreBackend> connect() const { return _row.make(_context); }
    void startReader(bool thorough);
    bool writeDirectly(const StoreWrite &write, std::string &error);
    bool readDirectly(const ParamDescriptor &descriptor, StoreValue &value, std::string &error);
    void openDirectly();

    const StoreBackendRow &_row;
    const bool _queued;
    const std::shared_ptr<std::atomic<bool>> _interrupted;
    const std::shared_ptr<StoreMemory> _memory;
    const std::shared_ptr<StoreState> _state;
    const std::shared_ptr<DeliveryGate> _gate;
    StoreContext _context;

    std::mutex _mutex;                     ///< of the fields below
    std::unique_ptr<StoreBackend> _direct; ///< for calls that wait
    bool _wroteDirectly = false;
    std::optional<StoreDeadline> _endBy; ///< when the last object has left: the end waits no longer
    std::shared_ptr<StoreWriter> _writer;
    std::shared_ptr<StoreReader> _reader;
    std::shared_ptr<StoreCare> _care;
};
