// SPDX-License-Identifier: GPL-3.0-or-later
#include "companions/remote/remoteloop.h"

#include "companions/remote/deckviewof.h"
#include "companions/remote/lineport.h"
#include "companions/remote/ninepinport.h"
#include "companions/remote/oscport.h"
#include "platform/control/valuechecks.h"
#include "platform/product/clipfinder.h"
#include "platform/qmx/core/qmxloglevel.h"
#include "platform/qmx/core/qmxthreads.h"

#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <sched.h>
#include <sys/eventfd.h>
#include <unistd.h>

namespace {
constexpr const char *module = "remote";
/// Waits of the ports are told by their deadlines; this is for the figures.
constexpr qint64 publishEvery = QmxClock::nsPerSecond;

std::unique_ptr<RemotePort> makePort(const RemotePortConfig &config, RemoteContext &context)
{
    switch (config.protocol) {
    case RemotePortConfig::Protocol::Ninepin:
        return std::make_unique<NinepinPort>(config, context);
    case RemotePortConfig::Protocol::Line:
        return std::make_unique<LinePort>(config, context);
    case RemotePortConfig::Protocol::Osc:
        return std::make_unique<OscPort>(config, context);
    }
    return nullptr;
}

/// A reply is a few microseconds of work and must not wait until pictures are coded. No right to it: then the
/// machine has to be quick enough.
void comeFirst()
{
    sched_param lowest{};
    lowest.sched_priority = 1;
    pthread_setschedparam(pthread_self(), SCHED_RR | SCHED_RESET_ON_FORK, &lowest);
}
} // namespace

RemoteContext::~RemoteContext() = default;
RemotePort::~RemotePort() = default;

RemoteLoop::RemoteLoop(const RemoteConfig &config)
    : _environment(QmxEnvironment::current()),
      _problems(config.problems),
      _wake(eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC)),
      _watch(QStringLiteral("xpremote-watch")),
      _follow(_watch.follow()),
      _workers(QStringLiteral("remote"), QStringLiteral("xpremote"))
{
    if (!_published.create(RemoteStatistics::size))
        qmxLogOutput(QmxLogLevel::Warning, module, __LINE__,
                     "The figures of the ports cannot be published in shared memory\n");
    for (const RemotePortConfig &port : config.ports)
        if (auto made = makePort(port, *this)) _ports.push_back(std::move(made));
    _listener = _watch.addListener([this](const DeckWatch::State &, const DeckWatch::State &) { wake(); });
    const QmxError error = _environment.threads->start(
        QStringLiteral("remote-io"), [this] { run(); }, _thread);
    if (error.isError())
        qmxLogOutput(QmxLogLevel::Error, module, __LINE__, "The ports are closed: %s\n",
                     qPrintable(error.toString()));
}

RemoteLoop::~RemoteLoop()
{
    _watch.removeListener(_listener);
    _ends = true;
    wake();
    if (_thread.joinable()) _thread.join();
}

void RemoteLoop::wake() const
{
    const std::uint64_t one = 1;
    [[maybe_unused]] const ssize_t written = write(_wake.fd(), &one, sizeof one);
}

void RemoteLoop::post(std::function<void()> work)
{
    {
        const std::lock_guard lock(_mutex);
        _posted.push_back(std::move(work));
    }
    wake();
}

DeckView RemoteLoop::view()
{
    const auto state = _watch.state();
    if (state != _viewed) {
        _view = deckViewOf(*state);
        _viewed = state;
    }
    // Newer than the state, and both of one frame: what edits go by.
    const auto now = _window.now();
    _view.index = now ? now->index : -1;
    _view.takeFirst = now ? now->first : -1;
    if (now && _view.frame >= 0) {
        _view.frame = now->frame;
        // (Told with the frame by the clock itself: the state is behind by as much as the machine is busy.)
        if (now->frame >= 0 && now->timecode.isValid()) {
            _view.timecode = now->timecode;
            _view.timecode.setFPS(_view.fps);
            _view.timecode.setDropFrame(_view.drop);
        }
    }
    return _view;
}

void RemoteLoop::perform(const DeckOrder &order, const Who &who, Answered answered, Given given)
{
    if (order.verb == QLatin1String(DeckOrder::set)) return set(order, who, answered);
    if (order.verb == QLatin1String(DeckOrder::window)) return setWindow(order, answered);
    if (order.verb == QLatin1String(DeckOrder::refuse)) {
        qmxLogOutput(QmxLogLevel::Warning, module, __LINE__, "%s: %s\n", qPrintable(who.text()),
                     qPrintable(order.arguments.value(QStringLiteral("sentence"))));
        return post([answered] { answered(Answer::done()); });
    }
    Request request;
    request.verb = order.verb;
    request.arguments = order.arguments;
    request.wait = order.wait;
    request.force = order.force;
    if (given) request.given = [this, given] { post(given); };
    _workers.submit(request, who, [this, answered](const Answer &answer) {
        post([answered, answer] { answered(answer); });
    });
}

void RemoteLoop::setWindow(const DeckOrder &order, const Answered &answered)
{
    const bool done = _window.set(order.arguments.value(QStringLiteral("in")).toLongLong(),
                                  order.arguments.value(QStringLiteral("out")).toLongLong());
    post([answered, done] {
        answered(done
                     ? Answer::done()
                     : Answer::refused(Cause::Daemon, "not_running", QStringLiteral("there is no recorder")));
    });
}

/// Settings that a protocol has as commands. Who may not move the transport may not change them either.
void RemoteLoop::set(const DeckOrder &order, const Who &who, const Answered &answered)
{
    const auto tell = [this, answered](const Answer &answer) {
        post([answered, answer] { answered(answer); });
    };
    const bool isTaken = _workers.post([order, who, tell](Control &control) {
        const QString name = order.arguments.value(QStringLiteral("name"));
        const QString value = order.arguments.value(QStringLiteral("value"));
        Request asked;
        asked.verb = QStringLiteral("next");
        if (const auto refusal = control.refusal(*findVerb(asked.verb), asked, who)) return tell(*refusal);
        const ParamDescriptor *descriptor = nullptr;
        for (const ParamDescriptor *one : AllDescriptors())
            if (one->name() == name.toStdString()) descriptor = one;
        StoreValue parsed;
        std::string reason;
        Answer answer = Answer::refused(Cause::Argument, "wrong_argument",
                                        QStringLiteral("there is no parameter %1").arg(name));
        if (descriptor && !descriptor->parse(value.toStdString(), parsed, reason))
            answer.sentence = QString::fromStdString(reason);
        else if (descriptor)
            answer = setParameter(control.recorder(), *descriptor, parsed);
        qmxLogOutput(QmxLogLevel::Info, module, __LINE__, "%s: set %s %s: %s\n", qPrintable(who.text()),
                     qPrintable(name), qPrintable(value),
                     answer.isDone() ? "done" : qPrintable(answer.sentence));
        tell(answer);
    });
    if (!isTaken) tell(Answer::refused(Cause::Busy, "busy", QStringLiteral("too many orders wait")));
}

void RemoteLoop::listClips(Clips listed)
{
    const auto tell = [this, listed](const QStringList &lines) { post([listed, lines] { listed(lines); }); };
    const bool isTaken = _workers.post([tell](Control &control) {
        ClipFinder finder(&control.recorder().config());
        QStringList lines;
        for (const Clip &clip : finder.findClips(true, false, true))
            lines.append(QStringLiteral("%1: %2 %3")
                             .arg(lines.size())
                             .arg(QString::fromStdString(clip.getName()))
                             .arg(clip.frames()));
        tell(lines);
    });
    if (!isTaken) tell({});
}

std::chrono::milliseconds RemoteLoop::waitTime() const
{
    qint64 first = _publishAt;
    for (const auto &port : _ports)
        if (const auto deadline = port->deadline()) first = std::min(first, *deadline);
    const QmxClock::Duration left(first - now());
    return std::max(std::chrono::milliseconds(0), std::chrono::ceil<std::chrono::milliseconds>(left));
}

void RemoteLoop::run()
{
    comeFirst();
    while (!_ends)
        turn();
    _ports.clear();
}

void RemoteLoop::turn()
{
    std::vector<pollfd> polls{{_wake.fd(), POLLIN, 0}};
    std::vector<RemotePort *> owners{nullptr};
    for (const auto &port : _ports) {
        port->wants(polls);
        owners.resize(polls.size(), port.get());
    }
    if (poll(polls.data(), polls.size(), int(waitTime().count())) < 0 && errno != EINTR) return;
    for (std::size_t i = 1; i < polls.size(); ++i)
        if (polls[i].revents != 0) owners[i]->ready(polls[i]);
    std::uint64_t woken = 0;
    [[maybe_unused]] const ssize_t count = read(_wake.fd(), &woken, sizeof woken);
    std::deque<std::function<void()>> work;
    {
        const std::lock_guard lock(_mutex);
        work.swap(_posted);
    }
    for (const auto &one : work)
        one();
    for (const auto &port : _ports)
        port->look();
    if (now() >= _publishAt) publish();
}

void RemoteLoop::publish()
{
    QJsonArray ports;
    for (const auto &port : _ports)
        ports.append(QJsonObject{{"port", port->place()}, {"problem", port->problem()}});
    const QJsonObject all{{"problems", QJsonArray::fromStringList(_problems)},
                          {"ports", ports},
                          {"peers", _statistics.toJson()}};
    _published.set(QJsonDocument(all).toJson(QJsonDocument::Compact).constData());
    _publishAt = now() + publishEvery;
}
