// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/control/recorder.h"

#include "platform/control/access.h"
#include "platform/product/shmstring.h"
#include "platform/qmx/clip/qmxclippart.h"
#include "platform/qmx/clip/qmxclipreader.h"
#include "platform/qmx/core/qmxenvironment.h"
#include "platform/qmx/core/qmxids.h"
#include "platform/qmx/core/qmxlockfile.h"
#include "platform/qmx/core/qmxplaces.h"
#include "platform/store/alarmvalue.h"
#include "platform/store/configfactoryimpl.h"

#include <QFile>
#include <QFileInfo>

#include <atomic>
#include <csignal>
#include <utility>

namespace {
constexpr auto noTimecode = "--:--:--:--";
/// How often a wait looks: well below a frame, and no load.
constexpr std::chrono::milliseconds lookEvery(5);
constexpr std::chrono::seconds countersLookEvery(1);
constexpr std::chrono::milliseconds daemonLookEvery(200);

std::atomic<bool> interrupted = false;

QString sharedText(const QString &name)
{
    std::string text;
    return ShmStringReader(name.toLocal8Bit().constData()).get(text) ? QString::fromStdString(text)
                                                                     : QString::fromLatin1(noTimecode);
}
} // namespace

Recorder::Recorder(const QString &client) : _environment(QmxEnvironment::current())
{
    CreateDescriptors();
    // A client of its own, whose writes are committed when the call returns.
    _config.reset(ConfigFactoryImpl::GetInstance()->create(GetConfigURI("udp"), client.toStdString(), false));
}

Recorder::~Recorder() = default;

QString Recorder::storeProblem() const
{
    if (!_config) {
        return QStringLiteral(
                   "the address of the configuration store makes no sense: '%1'; correct the first line "
                   "of /etc/xp/store, for example to sqlite:/var/lib/xp/store.db")
            .arg(QString::fromStdString(GetConfigURI("udp")));
    }
    return Access::told(QString::fromStdString(_config->storeState()));
}

int Recorder::daemonPid() const
{
    return QmxLockFile(_environment.places->recorderLock).holder();
}

bool Recorder::daemonStandsStill() const
{
    constexpr std::chrono::seconds tickWithin(1); // the slowest tick takes 42 ms
    const QmxCountersReader *counters = openCounters();
    if (!counters || counters->pid() != daemonPid()) return false; // one that has just begun
    const qint64 tick = counter("ticks");                          // 0: no device is open yet
    return daemonIsRunning() && tick > 0 && !waitFor([&] { return counter("ticks") != tick; }, tickWithin) &&
           daemonIsRunning() && !isAbandoned();
}

unsigned Recorder::number(eParam_t id) const
{
    unsigned value = 0;
    _config->getUInt(id, value);
    return value;
}

QString Recorder::text(eParam_t id) const
{
    std::string value;
    _config->getString(id, value);
    return QString::fromStdString(value);
}

QString Recorder::write(eParam_t id, unsigned value)
{
    return inTurn([&] {
        return _config->setUInt(id, value) ? QString()
                                           : Access::told(QString::fromStdString(_config->lastError()));
    });
}

QString Recorder::write(eParam_t id, const QString &value)
{
    return inTurn([&] {
        return _config->setString(id, value.toStdString())
                   ? QString()
                   : Access::told(QString::fromStdString(_config->lastError()));
    });
}

QString Recorder::inTurn(const Write &write)
{
    const auto turn = std::exchange(_turn, {}); // what it writes by itself goes straight
    QString problem = turn ? turn(write) : write();
    if (turn) _turn = turn;
    return problem;
}

bool Recorder::isPlaying() const
{
    return ::isPlaying(status());
}

bool Recorder::isInPlay() const
{
    return isPlaying() || status() == TransportStatus::Still;
}

QString Recorder::statusLabel() const
{
    return QString::fromStdString(GetDescriptor(eParam_TransportStatus)->label(int(status())));
}

QString Recorder::clip() const
{
    const QString name = text(eParam_CurrentClip);
    return name == QLatin1String(noClip) ? QString() : name;
}

QString Recorder::here(const QString &path) const
{
    return _environment.places->here(path);
}

QString Recorder::timecode() const
{
    return sharedText(_environment.places->currentTimecode);
}

QString Recorder::inputTimecode() const
{
    return sharedText(_environment.places->inputTimecode);
}

const QmxCountersReader *Recorder::openCounters() const
{
    // A daemon that was started again publishes a table of its own; the old one stands still.
    const bool mayBeOld = _counters && _environment.clock->since(_countersLookedAt) > countersLookEvery;
    if (mayBeOld) {
        _countersLookedAt = _environment.clock->now();
        if (const int pid = daemonPid(); pid != 0 && pid != _counters->pid()) _counters.reset();
    }
    if (!_counters) {
        auto reader = std::make_unique<QmxCountersReader>();
        if (!reader->open()) {
            return nullptr;
        }
        _counters = std::move(reader);
        _countersLookedAt = _environment.clock->now();
    }
    return _counters.get();
}

qint64 Recorder::counter(const char *name) const
{
    const QmxCountersReader *counters = openCounters();
    return counters ? counters->value(QString::fromLatin1(name)) : 0;
}

QList<QmxCountersReader::Counter> Recorder::counters() const
{
    const QmxCountersReader *counters = openCounters();
    return counters ? counters->counters() : QList<QmxCountersReader::Counter>();
}

std::optional<QmxPreviewPicture> Recorder::card() const
{
    QmxPreviewPicture picture;
    // (Opened each time: a daemon that was started again publishes anew.)
    if (!daemonIsRunning() || !_preview.open() || !_preview.readTexts(picture)) return {};
    return picture;
}

QString Recorder::inputProblem() const
{
    const auto now = card();
    return now && now->isCapture && !now->hasPicture ? now->input : QString();
}

namespace {
/// The daemon tells the reason by its name; here it is an identifier again.
QmxId reasonNamed(const QString &name)
{
    for (const QmxId reason : {QmxIds::noInput, QmxIds::invalidInput, QmxIds::unsupportedInput,
                               QmxIds::mediaFull, QmxIds::noMedia})
        if (reason.name() == name) return reason;
    return {};
}
} // namespace

QList<Recorder::Alarm> Recorder::alarms() const
{
    QList<Alarm> list;
    for (const ParamDescriptor *descriptor : AllDescriptors()) {
        if (!descriptor->isAlarm()) {
            continue;
        }
        std::string value;
        std::string message;
        AlarmSeverity severity = AlarmSeverity::Information;
        if (_config->getData(descriptor->id(), value) && parseAlarmValue(value, severity, message)) {
            static constexpr const char *levels[] = {"information", "warning", "error"};
            // Alarms of a condition come without a text; what the parameter means says it.
            const QString text = QString::fromStdString(message.empty() ? descriptor->help() : message);
            list.append({descriptor->id(), QString::fromStdString(descriptor->name()), levels[int(severity)],
                         text,
                         descriptor->id() == eParam_AlarmRecordInhibited ? reasonNamed(text) : QmxId()});
        }
    }
    return list;
}

QList<Recorder::Alarm> Recorder::newErrors(const QList<Alarm> &before) const
{
    QList<Alarm> fresh = newAlarms(before);
    fresh.removeIf([](const Alarm &alarm) { return alarm.level != "error"; });
    return fresh;
}

QList<Recorder::Alarm> Recorder::raisedSince(qint64 time, eParam_t id) const
{
    constexpr int few = 16;
    constexpr qint64 thousand = 1000;
    const std::vector<AlarmRecord> history = _config->alarmHistory(few);
    const bool isNew = std::any_of(history.begin(), history.end(), [time, id](const AlarmRecord &record) {
        return record.id == id && record.raised &&
               record.time.tv_sec * thousand + record.time.tv_usec / thousand >= time;
    });
    QList<Alarm> raised = isNew ? alarms() : QList<Alarm>();
    raised.removeIf([id](const Alarm &alarm) { return alarm.id != id; });
    return raised;
}

QList<Recorder::Alarm> Recorder::newAlarms(const QList<Alarm> &before) const
{
    QList<Alarm> fresh;
    for (const Alarm &alarm : alarms()) {
        const bool known = std::any_of(before.begin(), before.end(), [&alarm](const Alarm &old) {
            return old.id == alarm.id && old.message == alarm.message;
        });
        if (!known) fresh.append(alarm);
    }
    return fresh;
}

bool Recorder::waitFor(const std::function<bool()> &holds, QmxClock::Duration within,
                       const std::function<void()> &again, QmxClock::Duration againEvery) const
{
    const auto &clock = _environment.clock;
    const qint64 end = clock->after(within);
    qint64 nextAgain = clock->after(againEvery);
    // Nothing comes of a daemon that has ended in the meantime.
    const bool needsDaemon = daemonIsRunning();
    qint64 nextDaemonLook = clock->after(daemonLookEvery);
    while (!holds()) {
        const qint64 now = clock->now();
        if (now >= end || isAbandoned()) {
            return false;
        }
        if (needsDaemon && now >= nextDaemonLook) {
            if (!daemonIsRunning()) {
                return holds();
            }
            nextDaemonLook = clock->after(daemonLookEvery);
        }
        if (again && now >= nextAgain) {
            again();
            nextAgain = clock->after(againEvery);
        }
        clock->sleepUntil(now + QmxClock::Duration(lookEvery).count());
    }
    return true;
}

bool Recorder::isAbandoned() const
{
    return interrupted || (_abandon && _abandon());
}

qint64 Recorder::timeOfDay() const
{
    return _environment.clock->wallTime() / QmxClock::nsPerMillisecond;
}

bool Recorder::wasInterrupted()
{
    return interrupted;
}

bool Recorder::forgetInterrupt()
{
    return interrupted.exchange(false);
}

bool Recorder::isClip(const QString &name) const
{
    const auto part = QmxClipPart::fromText(name);
    if (!part || name.isEmpty() || name.contains('/') || name.contains('\n')) return false;
    const QFileInfo file(here(text(eParam_ActiveMediaPath) + "/" + part->clip));
    QmxClipInfo info;
    QmxClipPart::Range range;
    return (file.isFile() || file.isDir()) &&
           !QmxClipReader::probe(file.filePath(), info, _environment).isError() &&
           !part->resolve(info, range).isError();
}

QString Recorder::whyUnplayable(const QString &path) const
{
    const QFileInfo info(here(path));
    if (info.isSymLink()) return QStringLiteral("it is a link");
    if (info.exists() && !info.isFile() && !info.isDir())
        return QStringLiteral("it is no file"); // opening it could block
    QmxClipInfo clip;
    const QmxError error = QmxClipReader::probe(path, clip, _environment);
    if (!error.isError()) return {};
    if (info.isDir() && !path.endsWith(QLatin1String(".images"), Qt::CaseInsensitive))
        return QStringLiteral("it is no file");
    if (error.value() == ENODATA) return QStringLiteral("it has no frames");
    // The file has been named.
    QString why = error.toString();
    const QString before = path + QStringLiteral(" is no clip that can be played: ");
    return why.startsWith(before) ? why.mid(before.size()) : why.replace(path, QStringLiteral("it"));
}

QString Recorder::whyNoClip(const QString &name) const
{
    const QString folder = text(eParam_ActiveMediaPath);
    if (folder.isEmpty()) {
        return QStringLiteral("there is no clip %1: no medium is active").arg(name);
    }
    const auto part = QmxClipPart::fromText(name);
    if (!part)
        return QStringLiteral("%1 is no part of a clip: write CLIP[FROM-TO), with frame numbers or timecodes")
            .arg(name);
    const QFileInfo file(here(folder + "/" + part->clip));
    if (name.isEmpty() || name.contains('/') || !file.exists()) {
        return QStringLiteral("there is no clip %1 on %2").arg(name.isEmpty() ? "''" : part->clip, folder);
    }
    if (const QString why = whyUnplayable(file.filePath()); !why.isEmpty())
        return QStringLiteral("%1 lies on %2, but cannot be played: %3").arg(part->clip, folder, why);
    QmxClipInfo info;
    QmxClipPart::Range range;
    QmxClipReader::probe(file.filePath(), info, _environment);
    if (const QmxError error = part->resolve(info, range); error.isError()) return error.toString();
    return QStringLiteral("%1 lies on %2, but is not in the list that is played").arg(name, folder);
}

void Recorder::catchInterrupt()
{
    struct sigaction action = {};
    action.sa_handler = [](int) { interrupted = true; };
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
}
