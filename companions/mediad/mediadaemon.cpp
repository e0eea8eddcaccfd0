// SPDX-License-Identifier: GPL-3.0-or-later
#include "companions/mediad/mediadaemon.h"

#include "companions/mediad/cliprepair.h"
#include "companions/mediad/orderrules.h"
#include "platform/product/nominalrate.h"
#include "platform/qmx/core/qmxcounters.h"
#include "platform/qmx/core/qmxloglevel.h"
#include "platform/qmx/core/qmxplaces.h"
#include "platform/store/alarmproducer.h"
#include "platform/store/alarmvalue.h"
#include "platform/store/config.h"

#include <QCoreApplication>
#include <QPointer>
#include <QSocketNotifier>
#include <QTimer>

#include <algorithm>
#include <cstdlib>
#include <optional>
#include <utility>

namespace {

constexpr const char *module = "mediadaemon";
constexpr std::chrono::milliseconds lookInterval(250);
/// The report changes with every second of a take; nobody needs it that often.
constexpr std::chrono::seconds reportInterval(2);
constexpr std::size_t mostRepairsTold = 5;
/// Orders that come while the media are looked at. More of them than may wait, so that those are refused
/// aloud.
constexpr std::size_t mostUnread = std::size_t(16) * MediaJobs::bound;

} // namespace

MediaDaemon::MediaDaemon(std::unique_ptr<Config> config, QObject *parent)
    : QObject(parent),
      _environment(QmxEnvironment::current()),
      _recorderLock(_environment.places->recorderLock),
      _machine(_environment.places->media.toStdString()),
      _media(_environment),
      _jobs(_environment,
            [this](const MediaOrder &order, const MediaOrderState &state) { orderTold(order, state); }),
      _clips(_environment, [this](const std::string &medium,
                                  std::function<void()> job) { return _media.work(medium, std::move(job)); }),
      _store(std::move(config))
{
    if (const int table = _media.mountTable(); table >= 0) {
        auto *changed = new QSocketNotifier(table, QSocketNotifier::Exception, this);
        connect(changed, &QSocketNotifier::activated, this, &MediaDaemon::step);
    }
    _store.config().addListener(this);
    step();
    startTimer(lookInterval);
}

MediaDaemon::~MediaDaemon() = default;

void MediaDaemon::timerEvent(QTimerEvent *)
{
    step();
}

void MediaDaemon::ParamChanged(eParam_t id, unsigned value, timeval)
{
    if (ChoiceCheck::isChoice(id)) _choices.note(id, {{}, value, _environment.clock->now()});
    if (TableCheck::isAbout(id)) _table.note();
    switch (id) {
    case eParam_StorageState:
        if (StorageState(value) == StorageState::RolloverDone) ++_rolloversDone;
        break;
    case eParam_TransportCommand:
        if (TransportCommand(value) == TransportCommand::Record) return;
        ++_commands;
        if (TransportCommand(value) != TransportCommand::Stop) ++_playCommands;
        break;
    case eParam_ListingWanted:
        _listingWanted = true;
        break;
    case eParam_CueToFrame:
    case eParam_GoToClipIndex:
        ++_commands;
        ++_playCommands;
        break;
    case eParam_TransportStatus:
        if (TransportStatus(value) == TransportStatus::Recording) _takeBegun = true;
        break;
    case eParam_TransportRunning:
    case eParam_RolloverEnabled:
    case eParam_LutPosition:
        break;
    default:
        return;
    }
    wake();
}

void MediaDaemon::ParamChanged(eParam_t id, std::string value, timeval)
{
    if (id == eParam_MediaOrder) {
        const std::lock_guard lock(_ordersMutex);
        if (_orders.size() < mostUnread) _orders.push_back(value);
        wake();
        return;
    }
    if (ChoiceCheck::isChoice(id)) _choices.note(id, {value, 0, _environment.clock->now()});
    switch (id) {
    case eParam_ActiveMediaPath:
        _activeSet = true;
        break;
    case eParam_TransportSpeed:
    case eParam_CueToTimecode:
    case eParam_GoToClipName:
        ++_commands;
        ++_playCommands;
        break;
    case eParam_RolloverMediaPath:
        _rolloverSet = true;
        break;
    case eParam_MirrorMediaPath:
    case eParam_CurrentClip:
    case eParam_PlayList:
        break;
    default:
        return;
    }
    wake();
}

bool MediaDaemon::DataChanged(eParam_t id, std::string &, timeval)
{
    if (!TableCheck::isAbout(id)) return false;
    _table.note();
    wake();
    return true;
}

void MediaDaemon::wake()
{
    if (_woken.exchange(true)) return;
    QMetaObject::invokeMethod(
        this,
        [this] {
            _woken = false;
            _media.listAgain(); // what changed may be a clip
            step();
        },
        Qt::QueuedConnection);
}

void MediaDaemon::step()
{
    readOrders();
    const std::vector<Medium> now = _media.look(_first);
    // While the store refuses, the machine waits: its next decision would stand on writes that are not there.
    _store.beginStep();
    if (!_store.writeQueued()) return;
    // The parameters after the media, since that took time; events before them, so that what an event tells
    // is in the parameters.
    const MediaEvents happened = events();
    const MediaParameters is = parameters();
    MediaOrders orders = _machine.step(_environment.clock->now(), now, is, happened);
    followSchedule(is, happened, orders.writes);
    checkChoices(is, happened, orders.writes);
    for (MediaWrite &told :
         _table.step(_environment.clock->now(), is.recorder, [this] { return tableSetting(); }))
        orders.writes.push_back(std::move(told));
    for (const MediaWrite &write : orders.writes)
        log(write);
    _store.queue(orders.writes);
    _store.writeQueued();
    for (const std::string &path : orders.repairs)
        repair(path);
    takeOrders(now, is);
    careForCopies(now, is, happened.takeBegun);
    report(now, is);
    _clips.follow(now, is.active, _store.text(eParam_PlayList));
    _media.makePictures(is.daemonRuns && is.status == TransportStatus::Recording);
    _first = false;
}

MediaParameters MediaDaemon::parameters()
{
    MediaParameters is;
    is.status = TransportStatus(_store.number(eParam_TransportStatus));
    is.storage = StorageState(_store.number(eParam_StorageState));
    is.running = _store.number(eParam_TransportRunning) != 0;
    is.rolloverEnabled = _store.number(eParam_RolloverEnabled) != 0;
    is.active = _store.text(eParam_ActiveMediaPath);
    is.rollover = _store.text(eParam_RolloverMediaPath);
    is.mirror = _store.text(eParam_MirrorMediaPath);
    is.label = _store.text(eParam_MediaLabel);
    is.currentClip = _store.text(eParam_CurrentClip);
    is.lastTake = _store.text(eParam_RecordBaseName);
    is.playbackSource = PlaybackSource(_store.number(eParam_PlaybackSource));
    // Last: a recorder that begins in between has its lock before it says anything else.
    is.recorder = _recorderLock.holder();
    is.daemonRuns = is.recorder != 0;
    return is;
}

MediaEvents MediaDaemon::events()
{
    return {_rolloversDone.exchange(0),  _commands.exchange(0),          _playCommands.exchange(0),
            _activeSet.exchange(false),  _listingWanted.exchange(false), _takeBegun.exchange(false),
            _rolloverSet.exchange(false)};
}

void MediaDaemon::log(const MediaWrite &order)
{
    const std::string name = GetDescriptor(order.id)->name();
    if (order.kind == MediaWrite::Number)
        qmxLogOutput(QmxLogLevel::Info, module, __LINE__, "%s = %u\n", name.c_str(), order.number);
    else if (order.kind == MediaWrite::Text)
        qmxLogOutput(QmxLogLevel::Info, module, __LINE__, "%s = '%s'\n", name.c_str(), order.text.c_str());
    else if (order.kind == MediaWrite::RaiseAlarm)
        qmxLogText(QmxLogLevel::Warning, module, __LINE__, QString::fromStdString(order.text));
}

void MediaDaemon::repair(const std::string &path)
{
    // A full queue has a repair waiting already, which will find everything.
    _media.work(path, [path, environment = _environment, self = QPointer<MediaDaemon>(this)] {
        bool unfinished = false;
        const std::vector<std::string> report = repairClips(path, environment, &unfinished);
        if (report.empty()) return;
        QMetaObject::invokeMethod(
            QCoreApplication::instance(),
            [self, path, report, unfinished] {
                if (!self) return;
                if (unfinished) self->_machine.couldNotRepair(self->_environment.clock->now(), path);
                self->repaired(report);
            },
            Qt::QueuedConnection);
    });
}

/// The operator shall know what became of clips that he believes whole; until he begins the next take.
void MediaDaemon::repaired(const std::vector<std::string> &report)
{
    const std::size_t before = _repairs.size();
    // Looked at again after each take: what has been told is told once.
    for (const std::string &line : report)
        if (_repairsKnown.insert(line).second) _repairs.push_back(line);
    if (_repairs.size() > before) tellRepairs();
}

void MediaDaemon::tellRepairs()
{
    std::string text;
    for (std::size_t i = 0; i < _repairs.size() && i < mostRepairsTold; ++i)
        text += (i ? "; " : "") + _repairs[i];
    if (_repairs.size() > mostRepairsTold)
        text += "; and " + std::to_string(_repairs.size() - mostRepairsTold) + " more, see the log";
    _repairsTold = AlarmProducer::raise(&_store.config(), eParam_AlarmClipsRepaired,
                                        kel::alarms::Alarm_Severity(AlarmSeverity::Information), text);
}

/// The takes to come, as the store has them.
RecordSchedule &MediaDaemon::schedule()
{
    if (const std::string text = _store.text(eParam_RecordSchedule); text != _scheduleText) {
        _scheduleText = text;
        _schedule = RecordSchedule::parse(text);
    }
    return _schedule;
}

void MediaDaemon::followSchedule(const MediaParameters &is, const MediaEvents &happened,
                                 std::vector<MediaWrite> &writes)
{
    RecordSchedule &takes = schedule();
    QmxCountersReader counters;
    const bool runs = std::any_of(takes.takes.begin(), takes.takes.end(),
                                  [](const ScheduledTake &take) { return take.begun; });
    const qint64 frames =
        runs && counters.open() ? counters.value(QStringLiteral("frames_recorded")) : qint64(0);
    const ScheduleMachine::Orders orders =
        _scheduleMachine.step(takes, {_environment.clock->wallTime(), std::max(is.recorder, 0), is.status,
                                      happened.commands, frames});
    for (const std::string &line : orders.log)
        qmxLogOutput(QmxLogLevel::Info, module, __LINE__, "Scheduled %s\n", line.c_str());
    writes.insert(writes.end(), orders.writes.begin(), orders.writes.end());
    if (!orders.changed) return;
    _scheduleText = takes.print();
    writes.push_back({eParam_RecordSchedule, MediaWrite::Text, 0, _scheduleText});
}

/// Orders to the schedule are done at once. False: it is another one.
bool MediaDaemon::takeScheduleOrder(const MediaOrder &order)
{
    if (order.verb != "schedule" && order.verb != "unschedule") return false;
    RecordSchedule takes = schedule();
    std::string text;
    bool done = false;
    if (order.verb == "schedule") {
        const unsigned number = takes.add(order.from, order.to, _environment.clock->wallTime(), text);
        done = number != 0;
        for (const ScheduledTake &take : takes.takes)
            if (take.number == number) text = take.describe() + " will be recorded";
    } else {
        done = takes.cancel(unsigned(std::strtoul(order.clip.c_str(), nullptr, 10)), text);
        if (done) text = "take " + order.clip + " of the schedule is cancelled";
    }
    if (done && !_store.write({eParam_RecordSchedule, MediaWrite::Text, 0, takes.print()})) {
        done = false;
        text = "the configuration store does not take it; " + _store.config().lastError();
    }
    orderTold(order, {order.id, done ? "done" : "refused", 100, text});
    return true;
}

/// Before the media are looked at: an order may be about a clip that was not there at the last look.
void MediaDaemon::readOrders()
{
    const std::lock_guard lock(_ordersMutex);
    for (; !_orders.empty() && _unread.size() < mostUnread; _orders.pop_front())
        _unread.push_back({std::move(_orders.front()), _environment.clock->now()});
}

/// The clip that an order is about is not there, but nobody has looked since, or a take has just left it.
bool MediaDaemon::mayStillCome(const MediaOrder &order, const MediaParameters &is, qint64 since) const
{
    constexpr std::chrono::seconds orderWithin(2);
    const auto seen = _media.seen(order.from);
    if (!seen || _environment.clock->since(since) > orderWithin) return false;
    const Medium &medium = seen->medium;
    const bool isClosing =
        is.status != TransportStatus::Recording &&
        std::find(medium.recorded.begin(), medium.recorded.end(), order.clip) != medium.recorded.end();
    return !medium.holds(order.clip) && (isClosing || seen->since < since);
}

void MediaDaemon::takeOrders(const std::vector<Medium> &media, const MediaParameters &is)
{
    constexpr std::chrono::milliseconds lookAgainAfter(50);
    _jobs.follow(is);
    std::deque<Unread> orders;
    orders.swap(_unread);
    for (Unread &order : orders) {
        std::string id;
        std::string problem;
        const auto parsed = MediaOrder::parse(order.text, id, problem);
        if (parsed && takeScheduleOrder(*parsed)) continue;
        if (parsed && parsed->verb == "cancel") {
            orderTold(*parsed, _jobs.cancel(*parsed));
            continue;
        }
        if (parsed) problem = whyRefused(*parsed, media, is);
        if (problem.empty()) {
            _jobs.start(*parsed);
        } else if (parsed && mayStillCome(*parsed, is, order.since)) {
            if (_unread.empty()) QTimer::singleShot(lookAgainAfter, this, &MediaDaemon::wake);
            _unread.push_back(std::move(order));
        } else {
            orderTold({}, {id, "refused", 0, problem});
        }
    }
}

/// What is missing in one copy of a take on two media comes from the other one.
void MediaDaemon::careForCopies(const std::vector<Medium> &media, const MediaParameters &is, bool takeBegun)
{
    if (takeBegun) _copyIsLeft = false;
    if (_first) {
        _copiesKept = _store.text(eParam_MirrorPending);
        _copies.load(_copiesKept);
    }
    if (const auto order = _copies.step(_environment.clock->now(), media, is, takeBegun)) _jobs.start(*order);
    const std::string pending = _copies.print();
    if (pending != _copiesKept && _store.write({eParam_MirrorPending, MediaWrite::Text, 0, pending}))
        _copiesKept = pending;
}

void MediaDaemon::orderTold(const MediaOrder &order, const MediaOrderState &state)
{
    if (order.verb == "complete" && state.state != "running") {
        _copies.ended(_environment.clock->now(), order, state.state == "done");
        _copyIsLeft = _copyIsLeft || !state.report.empty();
        if (state.state == "done" && _copies.isEmpty() && !_copyIsLeft)
            AlarmProducer::clear(&_store.config(), eParam_AlarmMirrorLost);
    }
    if (state.state != "running")
        qmxLogText(state.state == "done" ? QmxLogLevel::Info : QmxLogLevel::Warning, module, __LINE__,
                   QString::fromStdString(state.text));
    if (state.state == "done" && order.verb == "delete" && _store.text(eParam_CurrentClip) == order.clip &&
        _store.text(eParam_ActiveMediaPath) == order.from)
        _store.write({eParam_CurrentClip, MediaWrite::Text, 0, noClip});
    // How far a copy is may be lost while the store refuses, how an order ended may not.
    if (state.state == "running")
        _store.write({eParam_MediaOrderState, MediaWrite::Text, 0, state.print()});
    else
        _store.answer(state.print());
    _store.writeQueued();
    if (state.state == "done") wake(); // the clips have changed
}

/// What operators see of the media. In a take it changes all the time, so only now and then.
void MediaDaemon::report(const std::vector<Medium> &media, const MediaParameters &is)
{
    const bool recording = is.daemonRuns && is.status == TransportStatus::Recording;
    if (recording && !_repairs.empty()) {
        if (AlarmProducer::clear(&_store.config(), eParam_AlarmClipsRepaired)) _repairs.clear();
        _repairsTold = true;
    } else if (!_repairsTold) {
        tellRepairs();
    }
    if (recording) _store.forgetLost();
    const qint64 now = _environment.clock->now();
    const bool mediaChanged = is.active + is.rollover != _reportedPaths;
    if (!_first && !mediaChanged && _environment.clock->since(_reportedAt) < reportInterval) return;
    _reportedAt = now;
    _recordTime.observeRoom(now, media);
    _reportedPaths = is.active + is.rollover;
    if (QmxCountersReader counters; recording && counters.open()) {
        for (const Medium &medium : media)
            if (medium.path == is.active && medium.beingRecorded)
                _recordTime.observe(medium.recordedBytes, counters.value(QStringLiteral("recorded_up_to")),
                                    double(counters.value(QStringLiteral("clip_rate"))) / 1000);
    }
    constexpr int few = 2;
    constexpr int many = 8;
    _recordTime.setNominal(
        nominalRate(_store.number(eParam_RecordCodec),
                    GetDescriptor(eParam_RecordFormat)->label(int(_store.number(eParam_RecordFormat))),
                    _store.number(eParam_AudioChannels) == 0 ? few : many));
    const RecordTime::Report report = _recordTime.report(media, is);
    const std::string text = MediumReport::print(report.media);
    if (text == _reported) return;
    if (_store.write({eParam_MediaReport, MediaWrite::Text, 0, text})) _reported = text;
    _store.write({eParam_RecordTimeLeft, MediaWrite::Number, unsigned(report.secondsLeft), {}});
}
