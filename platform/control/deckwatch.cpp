// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/control/deckwatch.h"

#include "platform/control/deckparts.h"
#include "platform/qmx/clip/qmxclippart.h"
#include "platform/qmx/clip/qmxclipreader.h"
#include "platform/qmx/core/qmxenvironment.h"
#include "platform/qmx/core/qmxlockfile.h"
#include "platform/qmx/core/qmxloglevel.h"
#include "platform/qmx/core/qmxplaces.h"
#include "platform/qmx/core/qmxtaskthread.h"
#include "platform/store/configfactoryimpl.h"

#include <atomic>
#include <map>
#include <mutex>
#include <thread>
#include <vector>

namespace {
constexpr qint64 ms = QmxClock::nsPerMillisecond;
/// How often the memory is looked at for the next frame, and (nobody follows) whether the daemon is there.
constexpr qint64 frameLook = 4 * ms;
constexpr qint64 daemonLook = 1000 * ms;
constexpr qint64 idleLook = 30'000 * ms;
/// So many changes in so long a time are told one by one, each as it comes; what is beyond is told together.
constexpr int mostAtOnce = 50;
constexpr qint64 rowWithin = 20 * ms;
/// Changes that may wait for the thread; more of them and all is read anew.
constexpr size_t mostChanges = 4096;
} // namespace

struct DeckWatch::Private : ConfigEventListener
{
    using ConfigEventListener::ParamChanged;

    explicit Private(const QString &client)
        : environment(QmxEnvironment::current()), clipThread("deck-clip", 1)
    {
        CreateDescriptors();
        config.reset(
            ConfigFactoryImpl::GetInstance()->create(GetConfigURI("udp"), client.toStdString(), false));
    }

    // The store's thread
    void ParamChanged(eParam_t id, unsigned value, timeval) override
    {
        changed(id, StoreValue::fromUnsigned(value));
    }
    void ParamChanged(eParam_t id, std::string value, timeval) override
    {
        changed(id, StoreValue::fromString(std::move(value)));
    }
    bool DataChanged(eParam_t id, std::string &value, timeval) override
    {
        changed(id, StoreValue::fromData(value));
        return true;
    }
    void ParamChanged(ConfigEvent event) override
    {
        if (event.kind == ConfigEvent::Reload) reload();
    }
    void changed(eParam_t id, const StoreValue &value);
    void reload();
    void publishAtOnce();
    bool isReloadDue();

    // "deck-watch"
    void run();

    // Whoever composes
    bool takeChanges();
    void lookForDaemon();
    DeckState compose();
    void publish(DeckState state);
    void askForLength(const DeckState &state);
    qint64 nextLook();

    QmxEnvironment environment;
    std::unique_ptr<Config> config;
    QmxInterrupt wake;
    std::atomic<bool> isEnding = false;
    std::atomic<State> published;
    std::shared_ptr<std::atomic<int>> followers = std::make_shared<std::atomic<int>>(0);

    std::mutex mutex; ///< of the changes and the listeners' table
    std::vector<std::pair<eParam_t, StoreValue>> changes;
    bool mustReload = true;
    std::map<int, Listener> listeners;
    int nextListener = 1;
    std::mutex calling; ///< held during calls

    std::mutex composing; ///< of what follows
    qint64 rowBegan = 0;
    int atOnce = 0;         ///< told one by one since then
    qint64 sleepsUntil = 0; ///< the thread, on the clock
    DeckParameters parameters;
    std::atomic<int> daemon = 0;
    qint64 lookedForDaemon = 0;
    DeckMemory memory;
    QString measured; ///< what `length` belongs to
    /// When to ask again, on the clock; 0: not. (A take has ended a moment before its clip can be read.)
    std::atomic<qint64> measureAgain = 0;
    std::atomic<qint64> length = 0;

    std::mutex questions; ///< of `asked`, for refreshed()
    DeckMemory asked;

    QmxTaskThread clipThread;
    std::thread thread;
};

void DeckWatch::Private::changed(eParam_t id, const StoreValue &value)
{
    if (!DeckParameters::concerns(id)) return;
    {
        const std::lock_guard lock(mutex);
        if (changes.size() >= mostChanges) mustReload = true;
        if (mustReload)
            changes.clear();
        else
            changes.emplace_back(id, value);
    }
    publishAtOnce();
}

/// A change is told from here: another thread would have to be woken first. Of a flood the most are left to
/// that thread, which tells together what came while it told the last.
void DeckWatch::Private::publishAtOnce()
{
    const std::unique_lock lock(composing, std::try_to_lock);
    if (!lock || isReloadDue()) return wake.interrupt();
    const qint64 now = environment.clock->now();
    if (now - rowBegan >= rowWithin) rowBegan = now, atOnce = 0;
    if (atOnce++ >= mostAtOnce) return wake.interrupt();
    takeChanges();
    lookForDaemon();
    publish(compose());
    if (nextLook() < sleepsUntil) wake.interrupt(); // somebody's time in control ends sooner, say
}

void DeckWatch::Private::reload()
{
    {
        const std::lock_guard lock(mutex);
        mustReload = true;
    }
    wake.interrupt();
}

/// The store is asked, on the thread that may wait.
bool DeckWatch::Private::isReloadDue()
{
    const std::lock_guard lock(mutex);
    return mustReload;
}

bool DeckWatch::Private::takeChanges()
{
    std::vector<std::pair<eParam_t, StoreValue>> taken;
    bool isReload = false;
    {
        const std::lock_guard lock(mutex);
        taken.swap(changes);
        isReload = std::exchange(mustReload, false);
    }
    if (isReload) parameters.load(*config);
    for (const auto &[id, value] : taken) {
        parameters.set(id, value);
        if (id == eParam_TransportRunning) lookedForDaemon = 0;
    }
    return isReload || !taken.empty();
}

void DeckWatch::Private::lookForDaemon()
{
    const qint64 now = environment.clock->now();
    if (lookedForDaemon != 0 && now - lookedForDaemon < daemonLook) return;
    lookedForDaemon = now;
    daemon = QmxLockFile(environment.places->recorderLock).holder();
    memory.attach(daemon);
}

DeckState DeckWatch::Private::compose()
{
    DeckState state = parameters.state(daemon != 0, environment.clock->wallTime() / ms);
    if (state.running) memory.fill(state);
    state.storeProblem = QString::fromStdString(config->storeState());
    askForLength(state);
    if (!state.isInPlay()) state.grows = false;
    if (!state.grows) state.liveDistance = -1;
    // Frames of a list are counted through all of it, and so is its length.
    const bool isToldByPlayback = state.isInPlay() && (state.grows || state.listEntry >= 0);
    if (!isToldByPlayback) state.length = state.isRecording() ? state.clipFrames : length.load();
    return state;
}

void DeckWatch::Private::askForLength(const DeckState &state)
{
    const QString file = state.path + '/' + state.clip;
    const QString what = file + '\n' + (state.isRecording() ? "recording" : "done");
    const qint64 again = measureAgain;
    if (what == measured && (again == 0 || environment.clock->now() < again)) return;
    measureAgain = 0;
    const bool isClip = !state.clip.isEmpty() && !state.path.isEmpty() && !state.isRecording();
    const bool isAsked = !isClip || clipThread.post([this, file] {
        QmxClipInfo info;
        QmxClipPart::Range range;
        const auto part = QmxClipPart::fromText(file);
        const bool isRead = part && !QmxClipReader::probe(part->clip, info, environment).isError() &&
                            !part->resolve(info, range).isError();
        length = isRead ? range.frames() : 0;
        // What its writer has not closed yet gets longer.
        const bool isWhole = isRead && !QmxClipReader::isBeingRecorded(part->clip);
        measureAgain = isWhole ? 0 : environment.clock->now() + daemonLook;
        wake.interrupt();
    });
    if (isAsked) measured = what;
    if (!isClip) length = 0;
}

void DeckWatch::Private::publish(DeckState state)
{
    const State before = published.load();
    state.revision = before ? before->revision : 0;
    if (before && state == *before) return;
    ++state.revision;
    const State now = std::make_shared<const DeckState>(std::move(state));
    published.store(now);
    const std::lock_guard inCall(calling);
    std::map<int, Listener> called;
    {
        const std::lock_guard lock(mutex);
        called = listeners;
    }
    for (const auto &[id, listener] : called)
        listener(before, now);
}

qint64 DeckWatch::Private::nextLook()
{
    const qint64 now = environment.clock->now();
    const bool isFollowed = *followers > 0;
    if (isFollowed && daemon != 0) return now + frameLook;
    if (const qint64 again = measureAgain; again != 0) return std::max(again, now + frameLook);
    const qint64 wall = environment.clock->wallTime() / ms;
    const qint64 end = parameters.nextEnd(wall);
    const qint64 idle = isFollowed ? daemonLook : idleLook;
    return now + (end == 0 ? idle : std::min(idle, (end - wall + 1) * ms));
}

void DeckWatch::Private::run()
{
    qint64 tick = -1;
    while (!isEnding) {
        wake.reset();
        std::unique_lock lock(composing);
        const bool isTold = takeChanges();
        lookForDaemon();
        // A frame is told once: what belongs to it is in the memory a moment behind the tick.
        const qint64 now = daemon != 0 ? memory.tick() : -1;
        if (isTold || now != tick || daemon == 0 || *followers == 0) publish(compose());
        tick = now;
        const qint64 until = sleepsUntil = nextLook();
        lock.unlock();
        if (isEnding) break;
        environment.clock->sleepUntil(until, &wake);
    }
}

DeckWatch::DeckWatch(const QString &client) : d(std::make_unique<Private>(client))
{
    if (!d->config) { // the address of the store makes no sense; the state says so
        auto state = std::make_shared<DeckState>();
        state->status = QStringLiteral("not_running");
        state->storeProblem =
            QStringLiteral("the address of the configuration store makes no sense; correct the "
                           "first line of /etc/xp/store");
        d->published.store(state);
        return;
    }
    d->config->addListener(d.get());
    {
        const std::lock_guard lock(d->composing);
        d->takeChanges();
        d->lookForDaemon();
        d->publish(d->compose());
    }
    const QmxError error = QmxEnvironment::current().threads->start(
        QStringLiteral("deck-watch"), [this] { d->run(); }, d->thread);
    if (error.isError()) qmxLogText(QmxLogLevel::Error, "deckwatch", __LINE__, error.toString());
}

DeckWatch::~DeckWatch()
{
    d->isEnding = true;
    d->wake.interrupt();
    if (d->thread.joinable()) d->thread.join();
    d->clipThread.stop();
    d->config.reset(); // no call of the store after this
}

DeckWatch::State DeckWatch::state() const
{
    return d->published.load();
}

DeckWatch::State DeckWatch::refreshed() const
{
    auto state = std::make_shared<DeckState>(*d->published.load());
    if (!d->thread.joinable()) return state;
    const int daemon = QmxLockFile(d->environment.places->recorderLock).holder();
    if ((daemon != 0) != state->running) {
        d->wake.interrupt();
        state->running = daemon != 0;
        if (!state->running) state->status = QStringLiteral("not_running");
    }
    if (state->running) {
        const std::lock_guard lock(d->questions);
        d->asked.attach(daemon);
        d->asked.fill(*state);
    }
    if (state->isRecording()) state->length = state->clipFrames;
    return state;
}

std::shared_ptr<void> DeckWatch::follow()
{
    ++*d->followers;
    d->wake.interrupt();
    return {nullptr, [count = d->followers](void *) { --*count; }};
}

int DeckWatch::addListener(Listener listener)
{
    const std::lock_guard lock(d->mutex);
    d->listeners.emplace(d->nextListener, std::move(listener));
    return d->nextListener++;
}

void DeckWatch::removeListener(int id)
{
    const std::lock_guard inCall(d->calling);
    const std::lock_guard lock(d->mutex);
    d->listeners.erase(id);
}
