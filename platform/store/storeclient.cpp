// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/store/storeclient.h"

#include "platform/qmx/core/qmx.h"
#include "platform/qmx/core/qmxloglevel.h"
#include "platform/store/storesource.h"

#include <QCoreApplication>

#include <map>
#include <tuple>

namespace {

constexpr const char *mediaDaemon = "xpmediad"; ///< the one part of a recorder that writes directly
constexpr const char *module = "storeclient";
constexpr int longestShown = 100; // of an address that makes no sense
constexpr std::chrono::milliseconds silence{900};
constexpr std::chrono::milliseconds firstRead{2000}; // how long the start waits for the store
/// How long the end of a client waits in all: for the last writes to be committed and its threads to end.
constexpr std::chrono::milliseconds endWait{2000};

/// All clients of this process.
class StoreClients
{
public:
    using Key = std::tuple<std::string, std::string, bool>;

    static StoreClients &instance()
    {
        static auto *const clients = new StoreClients; // outlives static objects that still hold a store
        return *clients;
    }

    std::mutex mutex;
    std::map<Key, std::weak_ptr<StoreClient>> byKey;

    /// From the beginning of the end on no listener is called: nothing may start any more.
    void followApplication()
    {
        const std::lock_guard lock(mutex);
        if (!_stepAdded) Qmx::addQuitStep([] { instance().stopDelivering(); });
        _stepAdded = true;
        QCoreApplication *application = QCoreApplication::instance();
        if (!application || application == _followed) return;
        _followed = application;
        // For programs that do not use the framework.
        QObject::connect(application, &QCoreApplication::aboutToQuit, [] { instance().stopDelivering(); });
    }

private:
    void stopDelivering()
    {
        std::vector<std::shared_ptr<StoreClient>> clients;
        {
            const std::lock_guard lock(mutex);
            for (const auto &[key, weak] : byKey)
                if (auto client = weak.lock()) clients.push_back(std::move(client));
        }
        for (const auto &client : clients)
            client->stopDelivering();
    }

    bool _stepAdded = false;
    QCoreApplication *_followed = nullptr;
};

} // namespace

std::shared_ptr<StoreClient> StoreClient::acquire(const std::string &uri, const std::string &client,
                                                  bool queued)
{
    std::string path;
    const StoreBackendRow *row = findStoreBackend(uri, path);
    if (!row) {
        qmxLogOutput(QmxLogLevel::Error, module, __LINE__,
                     "The address of the configuration store makes no sense: '%.*s'; correct the first line "
                     "of /etc/xp/store, for example to sqlite:/var/lib/xp/store.db, and start again. Until "
                     "then nobody can operate the recorder\n",
                     longestShown, uri.c_str());
        return nullptr;
    }
    CreateDescriptors();
    StoreClients &clients = StoreClients::instance();
    clients.followApplication();
    const std::lock_guard lock(clients.mutex);
    auto &entry = clients.byKey[{uri, client, queued}];
    std::shared_ptr<StoreClient> found = entry.lock();
    if (!found) {
        found.reset(new StoreClient(*row, uri, path, client, queued));
        entry = found;
    }
    return found;
}

StoreClient::StoreClient(const StoreBackendRow &row, const std::string &uri, const std::string &path,
                         const std::string &client, bool queued)
    : _row(row),
      _queued(queued),
      _interrupted(std::make_shared<std::atomic<bool>>(false)),
      _memory(std::make_shared<StoreMemory>()),
      _state(std::make_shared<StoreState>(uri)),
      _gate(DeliveryGate::forStore(uri)),
      _context{path,
               storeSource(client),
               QmxEnvironment::current(),
               [memory = _memory] { return memory->committed(); },
               _interrupted,
               queued || client == mediaDaemon}
{
    if (!_queued) {
        openDirectly();
        return;
    }
    startReader(true);
    _writer = std::make_shared<StoreWriter>(connect(), _context, _memory, _state, _gate);
    _writer->start();
}

StoreClient::~StoreClient()
{
    const StoreDeadline until = _endBy.value_or(std::chrono::steady_clock::now() + endWait);
    if (_reader) _reader->stopDelivering();
    if (_reader) _reader->askToStop();
    if (_care) _care->askToStop();
    if (_writer) _writer->stop(until);
    *_interrupted = true;
    // Of programs that only come and go nobody else may look after the store.
    if (_wroteDirectly && !_care) _direct->care();
    if (_care) _care->stop(until);
    if (_reader) _reader->stop(until);
}

void StoreClient::startReader(bool thorough)
{
    _reader = std::make_shared<StoreReader>(connect(), _context, _memory, _state, _gate, _queued, thorough);
    _reader->start();
    _reader->waitUntilLoaded(firstRead);
    _care = std::make_shared<StoreCare>(connect());
    _care->start();
}

void StoreClient::openDirectly()
{
    _direct = connect();
    const StoreResult prepared = _direct->prepare(false);
    StoreImage image;
    StoreCursor cursor;
    const StoreResult read = _direct->snapshot(image, cursor);
    if (read.isDone()) _memory->reload(image);
    _state->report(StoreState::Reading, read.isDone() || prepared.isDone() ? read : prepared);
}

bool StoreClient::write(const StoreWrite &write, std::string &error)
{
    if (!_queued) return writeDirectly(write, error);
    const ParamDescriptor *descriptor = GetDescriptor(write.id);
    // What is there already is written, as far as this client knows; the store need not be asked.
    if (_memory->isLoaded() && !descriptor->everyWriteIsEvent() && _memory->value(*descriptor) == write.value)
        return true;
    if (_writer->queue(write)) return true;
    error = descriptor->name() + " was not written: " + std::to_string(StoreWriter::bound) +
            " writes wait already. " + _state->text();
    return false;
}

bool StoreClient::writeDirectly(const StoreWrite &write, std::string &error)
{
    auto token = _context.environment.clock->busy();
    std::vector<quint64> versions;
    const std::lock_guard lock(_mutex);
    const StoreResult result = _direct->write({write}, versions);
    _state->report(StoreState::Writing, result);
    if (!result.isDone()) {
        error = result.text;
        return false;
    }
    _wroteDirectly = true;
    if (versions.front() > 0) _memory->apply({write.id, {write.value, versions.front(), _context.source, 0}});
    _gate->hold(std::move(token), versions.front());
    return true;
}

bool StoreClient::read(const ParamDescriptor &descriptor, StoreValue &value, std::string &error)
{
    if (!_queued) return readDirectly(descriptor, value, error);
    value = _memory->value(descriptor);
    if (_memory->isLoaded()) return true;
    error = _state->text();
    return false;
}

bool StoreClient::readDirectly(const ParamDescriptor &descriptor, StoreValue &value, std::string &error)
{
    const std::lock_guard lock(_mutex);
    std::optional<StoredValue> stored;
    const auto since = std::chrono::steady_clock::now();
    StoreResult result = _direct->read(descriptor.id(), stored);
    // A server that keeps silent is not asked three times over.
    const bool answered = std::chrono::steady_clock::now() - since < silence;
    if (answered && (result.code == StoreResult::Damaged || result.code == StoreResult::Unreachable)) {
        // Looking after it may help: it is restored when it is broken and made when it is missing.
        result = _direct->prepare(false);
        if (result.isDone()) result = _direct->read(descriptor.id(), stored);
    }
    _state->report(StoreState::Reading, result);
    if (!result.isDone()) {
        value = _memory->value(descriptor);
        error = result.text;
        return false;
    }
    if (stored) _memory->apply({descriptor.id(), *stored});
    value =
        stored && stored->value.kind == descriptor.valueKind() ? stored->value : descriptor.defaultValue();
    return true;
}

void StoreClient::addListener(const void *owner, ConfigEventListener *listener)
{
    const std::lock_guard lock(_mutex);
    if (!_reader) startReader(false);
    _reader->addListener(owner, listener);
}

void StoreClient::leave(const void *owner)
{
    std::shared_ptr<StoreReader> reader;
    const StoreDeadline until = std::chrono::steady_clock::now() + endWait;
    {
        const std::lock_guard lock(_mutex);
        reader = _reader;
        _endBy = until;
    }
    if (reader) reader->removeListeners(owner);
    if (_writer && !_writer->waitUntilEmpty(until)) _writer->giveUp();
}

void StoreClient::stopDelivering()
{
    std::shared_ptr<StoreReader> reader;
    {
        const std::lock_guard lock(_mutex);
        reader = _reader;
    }
    if (reader) reader->stopDelivering();
}

void StoreClient::deliverLocally(eParam_t id, const StoreValue &value)
{
    std::shared_ptr<StoreReader> reader;
    {
        const std::lock_guard lock(_mutex);
        reader = _reader;
    }
    if (reader) reader->deliverLocally(id, value);
}

bool StoreClient::alarmHistory(int newest, std::vector<AlarmRecord> &records, std::string &error)
{
    const std::lock_guard lock(_mutex);
    if (!_direct) _direct = connect();
    const StoreResult result = _direct->alarmHistory(newest, records);
    error = result.text;
    return result.isDone();
}
