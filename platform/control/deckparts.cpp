// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/control/deckparts.h"
#include "platform/control/alarmseen.h"

#include "platform/control/ownership.h"
#include "platform/control/playlist.h"
#include "platform/store/alarms.h"
#include "platform/store/alarmvalue.h"
#include "platform/store/eparam.h"
#include "platform/store/eparamcontrol.h"
#include "platform/store/eparamreplay.h"
#include "platform/store/values.h"

#include <QDateTime>
#include <QJsonArray>
#include <QJsonDocument>
#include <QRegularExpression>

#include <algorithm>
#include <utility>
#include <vector>

namespace {
constexpr auto noTimecode = "--:--:--:--";

/// Who is in control: of these, time decides as well.
constexpr eParam_t ofControl[] = {eParam_ControlOwner, eParam_ControlLock, eParam_ControlMode};

QJsonArray arrayOf(const QString &text)
{
    return QJsonDocument::fromJson(text.toUtf8()).array();
}

QString isoTime(const timeval &time)
{
    constexpr int msPerSecond = 1000;
    constexpr int usPerMs = 1000;
    return QDateTime::fromMSecsSinceEpoch(qint64(time.tv_sec) * msPerSecond + time.tv_usec / usPerMs)
        .toString(Qt::ISODate);
}

/// The rate at the end of a format's label: "1080p29.97"; 0 when there is none. Of interlaced ones the
/// frames.
double rateOf(const QString &format)
{
    static const QRegularExpression form(QStringLiteral("(?:p|psf|i)(\\d+(?:\\.\\d+)?)(?:_.*)?$"));
    const double nominal = form.match(format).captured(1).toDouble();
    constexpr double ntsc = 1000.0 / 1001.0;
    const double whole = qRound(nominal);
    return qFuzzyCompare(nominal, whole) || nominal <= 0 ? nominal : whole * ntsc;
}

/// Drop frame counts are written with a semicolon before the frames.
bool isDropFrame(const QString &timecode)
{
    return timecode.contains(';') || timecode.contains(',');
}
} // namespace

double DeckParameters::speedAskedFor(Config &config)
{
    std::string announced;
    config.getString(eParam_ControlVerb, announced);
    const QJsonObject last = QJsonDocument::fromJson(QByteArray::fromStdString(announced)).object();
    if (last.contains("speed")) return last["speed"].toDouble();
    static const QRegularExpression form(QStringLiteral("^(?:re)?play\\b.*\\bspeed=(-?[0-9.]+)"));
    const QRegularExpressionMatch match = form.match(last["verb"].toString());
    return match.hasMatch() ? match.captured(1).toDouble() : 1;
}

bool DeckParameters::concerns(eParam_t id)
{
    return partsOf(id) != 0 ||
           std::find(std::begin(ofControl), std::end(ofControl), id) != std::end(ofControl);
}

void DeckParameters::load(Config &config)
{
    for (const ParamDescriptor *descriptor : AllDescriptors()) {
        if (!concerns(descriptor->id()) || descriptor->keep() == ParamDescriptor::Keep::Command) continue;
        StoreValue value = descriptor->defaultValue();
        config.getValue(descriptor->id(), value);
        _values[descriptor->id()] = value;
    }
    _askedSpeed = speedAskedFor(config);
    _stale = ~0U;
    // What was told meanwhile is lost: it may have been any clip.
    if (_markChanges > 0) marksChangedOf({});
    _since.clear();
    constexpr int wholeHistory = 1000;
    for (const AlarmRecord &record : config.alarmHistory(wholeHistory)) {
        if (!record.raised)
            _since.erase(record.id);
        else
            _since.emplace(record.id, isoTime(record.time));
    }
}

bool DeckParameters::set(eParam_t id, const StoreValue &value)
{
    changed(id);
    if (id == eParam_TransportSpeed) _askedSpeed = QString::fromStdString(value.text).toDouble();
    constexpr unsigned play = 1;
    if (id == eParam_TransportCommand && value.number == play) _askedSpeed = 1;
    if (id == eParam_MarksChanged) marksChangedOf(QString::fromStdString(value.text));
    const ParamDescriptor *descriptor = GetDescriptor(id);
    if (descriptor && descriptor->isAlarm()) {
        if (value.text.empty())
            _since.erase(id);
        else if (!_since.contains(id))
            _since[id] = QDateTime::currentDateTime().toString(Qt::ISODate);
    }
    const auto known = _values.find(id);
    if (known != _values.end() && known->second == value) return false;
    _values[id] = value;
    return true;
}

void DeckParameters::marksChangedOf(const QString &clip)
{
    _marksChanged = {{"clip", clip}, {"count", ++_markChanges}};
}

unsigned DeckParameters::number(eParam_t id) const
{
    const auto found = _values.find(id);
    return found == _values.end() ? 0 : found->second.number;
}

QString DeckParameters::text(eParam_t id) const
{
    const auto found = _values.find(id);
    return found == _values.end() ? QString() : QString::fromStdString(found->second.text);
}

QString DeckParameters::label(eParam_t id) const
{
    return QString::fromStdString(GetDescriptor(id)->label(int(number(id))));
}

/// The status tells the kind of speed; how fast exactly is what was asked for last, when it is of that kind.
double DeckParameters::speed() const
{
    struct SpeedRow
    {
        TransportStatus status;
        double lowest, highest, standard;
    };
    using enum TransportStatus;
    constexpr double fastest = maximumSpeed;
    static constexpr SpeedRow rows[] = {
        {Playing, 0, fastest, 1},       {ForwardFast, 0, fastest, 2}, {Forward4, 0, fastest, 4},
        {Forward8, 0, fastest, 8},      {Forward16, 0, fastest, 16},  {Reverse, -fastest, 0, -1},
        {ReverseFast, -fastest, 0, -2}, {Reverse4, -fastest, 0, -4},  {Reverse8, -fastest, 0, -8},
        {Reverse16, -fastest, 0, -16},
    };
    const auto status = TransportStatus(number(eParam_TransportStatus));
    const auto row = std::find_if(std::begin(rows), std::end(rows),
                                  [status](const SpeedRow &one) { return one.status == status; });
    if (row == std::end(rows)) return 0;
    // (Of the faster ones the keys of a tape machine step through; they are not asked for by a number.)
    const bool isExact = status == Playing || status == Reverse;
    const bool fits = _askedSpeed != 0 && _askedSpeed >= row->lowest && _askedSpeed <= row->highest;
    return fits && (isExact || qAbs(_askedSpeed) > 1) ? _askedSpeed : row->standard;
}

void DeckParameters::fillAlarms()
{
    _made.alarmList = {};
    _made.recordInhibited.clear();
    const QJsonObject seen = QJsonDocument::fromJson(text(eParam_AlarmsAcknowledged).toUtf8()).object();
    for (const auto &[id, value] : _values) {
        const ParamDescriptor *descriptor = GetDescriptor(id);
        std::string message;
        AlarmSeverity severity = AlarmSeverity::Information;
        if (!descriptor || !descriptor->isAlarm() || !parseAlarmValue(value.text, severity, message))
            continue;
        static constexpr const char *levels[] = {"information", "warning", "error"};
        const auto since = _since.find(id);
        const QString name = QString::fromStdString(descriptor->name());
        const qint64 raised =
            since == _since.end() ? 0 : QDateTime::fromString(since->second, Qt::ISODate).toMSecsSinceEpoch();
        const AlarmSeen told = AlarmSeen::of(seen, name, raised);
        _made.alarmList.append(
            QJsonObject{{"name", name},
                        {"level", levels[int(severity)]},
                        {"message", QString::fromStdString(message.empty() ? descriptor->help() : message)},
                        {"since", since == _since.end() ? QString() : since->second},
                        {"advice", QString::fromLatin1(alarmAdvice(id)).remove(QLatin1String("xpctl "))},
                        {"acknowledged_by", told.by},
                        {"acknowledged_at", told.at}});
        if (id == eParam_AlarmRecordInhibited)
            _made.recordInhibited = QString::fromStdString(message.empty() ? descriptor->help() : message);
    }
    _made.alarms = int(_made.alarmList.size());
}

void DeckParameters::fillTransport()
{
    _made.status = _made.running ? label(eParam_TransportStatus) : QStringLiteral("not_running");
    _made.speed = _made.running ? speed() : 0;
    const QString clip = text(eParam_CurrentClip);
    _made.clip = clip == QLatin1String(noClip) ? QString() : clip;
    _made.path = text(eParam_ActiveMediaPath);
    _made.mirrorPath = text(eParam_MirrorMediaPath);
    _made.take = {};
    if (!_made.isRecording()) return;
    _made.take = QJsonDocument::fromJson(text(eParam_TakeStarter).toUtf8()).object();
    // Another medium may have been chosen meanwhile for the second copies of the clips to come.
    for (const auto &value : QJsonDocument::fromJson(text(eParam_MirrorPending).toUtf8()).array())
        if (value.toObject().value("clip") == _made.clip)
            _made.mirrorPath = value.toObject().value("other").toString();
}

void DeckParameters::fillFormats()
{
    _made.inputFormat = label(eParam_InputFormat);
    constexpr unsigned lastUnknown = 1; // none, unknown
    _made.inputLocked = _made.running && number(eParam_InputFormat) > lastUnknown;
    _made.recordFormat = label(eParam_RecordFormat);
    _made.recordCodec = label(eParam_RecordCodec);
    _made.mediaFormat = label(eParam_MediaFormat);
    _made.playbackSource = label(eParam_PlaybackSource);
    _made.timecodeSource = label(eParam_TimecodeSource);
    _made.rate = rateOf(_made.isInPlay() ? _made.mediaFormat : _made.recordFormat);
}

void DeckParameters::fillMedia()
{
    _made.media = arrayOf(text(eParam_MediaReport));
}

void DeckParameters::fillRoom()
{
    _made.secondsLeft = number(eParam_RecordTimeLeft);
}

void DeckParameters::fillList()
{
    _made.listRevision = PlayList::revisionOf(text(eParam_PlayList));
    _made.marksChanged = _marksChanged;
}

/// Not only parameters end them: time does.
void DeckParameters::fillControl(qint64 now)
{
    _made.mode = label(eParam_ControlMode);
    const auto owner = Ownership::Hold::parse(text(eParam_ControlOwner), now);
    const auto lock = Ownership::Hold::parse(text(eParam_ControlLock), now);
    _made.owner = owner ? owner->toJson() : QJsonObject();
    _made.lock = lock ? lock->toJson() : QJsonObject();
}

struct DeckParameters::Part
{
    void (DeckParameters::*make)();
    std::vector<eParam_t> of;
    bool isOfAlarms = false;
};

std::span<const DeckParameters::Part> DeckParameters::parts()
{
    using D = DeckParameters;
    static const Part rows[] = {
        // (Formats go by what the transport does.)
        {&D::fillTransport,
         {eParam_TransportStatus, eParam_TransportRunning, eParam_TransportSpeed, eParam_TransportCommand,
          eParam_CurrentClip, eParam_ActiveMediaPath, eParam_MirrorMediaPath, eParam_MirrorPending,
          eParam_TakeStarter}},
        {&D::fillFormats,
         {eParam_TransportStatus, eParam_InputFormat, eParam_RecordFormat, eParam_RecordCodec,
          eParam_MediaFormat, eParam_PlaybackSource, eParam_TimecodeSource}},
        {&D::fillMedia, {eParam_MediaReport}},
        {&D::fillRoom, {eParam_RecordTimeLeft}},
        {&D::fillList, {eParam_PlayList, eParam_MarksChanged}},
        {&D::fillAlarms, {eParam_AlarmsAcknowledged}, true},
    };
    return rows;
}

unsigned DeckParameters::partsOf(eParam_t id)
{
    const ParamDescriptor *descriptor = GetDescriptor(id);
    const bool isAlarm = descriptor && descriptor->isAlarm();
    unsigned bits = 0;
    unsigned bit = 1;
    for (const Part &part : parts()) {
        const bool isOfIt = std::find(part.of.begin(), part.of.end(), id) != part.of.end();
        if (isOfIt || (isAlarm && part.isOfAlarms)) bits |= bit;
        bit <<= 1;
    }
    return bits;
}

DeckState DeckParameters::state(bool running, qint64 now)
{
    if (std::exchange(_made.running, running) != running) _stale = ~0U;
    unsigned bit = 1;
    for (const Part &part : parts()) {
        if ((_stale & bit) != 0) (this->*part.make)();
        bit <<= 1;
    }
    _stale = 0;
    fillControl(now);
    return _made;
}

qint64 DeckParameters::nextEnd(qint64 now) const
{
    qint64 next = 0;
    for (const eParam_t id : {eParam_ControlOwner, eParam_ControlLock}) {
        const auto hold = Ownership::Hold::parse(text(id), now);
        if (hold && (next == 0 || hold->until < next)) next = hold->until;
    }
    return next;
}

void DeckMemory::attach(int daemonPid)
{
    if (daemonPid == 0 || daemonPid == _attached) return;
    if (_counters.open() && _counters.pid() == daemonPid) _attached = daemonPid;
}

void DeckMemory::fill(DeckState &state)
{
    const auto textOf = [](ShmStringReader &reader) {
        std::string text;
        return reader.get(text) ? QString::fromStdString(text) : QString::fromLatin1(noTimecode);
    };
    state.timecode = textOf(_timecode);
    state.inputTimecode = textOf(_inputTimecode);
    state.dropFrame = isDropFrame(state.timecode);
    state.inputDropFrame = isDropFrame(state.inputTimecode);
    const auto value = [this](const QString &name) { return _counters.value(name); };
    state.tick = value(QStringLiteral("ticks"));
    state.frame = value(QStringLiteral("frame_on_output"));
    state.listEntry = value(QStringLiteral("list_entry_on_output"));
    state.clipFrames = value(QStringLiteral("current_clip_frames"));
    state.recordedUpTo = value(QStringLiteral("recorded_up_to"));
    state.takeCopies = value(QStringLiteral("take_copies"));
    lookAtStart();
    state.takeStart = _takeStart;
    state.safeOnBoth = value(QStringLiteral("safe_on_both"));
    state.droppedCapture = value(QStringLiteral("frames_dropped_capture"));
    state.droppedPlayback = value(QStringLiteral("frames_dropped_playback"));
    state.lateTicks = value(QStringLiteral("late_ticks"));
    state.grows = value(QStringLiteral("material_grows")) != 0;
    state.liveDistance = state.grows ? value(QStringLiteral("live_distance")) : -1;
    if (state.grows || state.listEntry >= 0) state.length = value(QStringLiteral("material_frames"));
    state.startIn = state.isRecording() ? value(QStringLiteral("start_in")) : 0;
    if (state.isRecording() && state.startIn == 0 && state.clipFrames == 0)
        state.startIn = DeckState::waitsForPicture;
    if (state.startIn != 0) { // what is told is still of the take before
        state.clip.clear();
        state.length = state.clipFrames = state.recordedUpTo = state.takeCopies = state.safeOnBoth = 0;
        state.takeStart = 0;
    }
    // Faster play that has come up to the newest frame goes on at normal speed, whatever was asked for.
    constexpr double atTheEdge = 1.5; // s
    if (state.grows && state.speed > 1 && double(state.liveDistance) < atTheEdge * state.rate) {
        state.speed = 1;
        state.status = QString::fromStdString(
            GetDescriptor(eParam_TransportStatus)->label(int(TransportStatus::Playing)));
    }
}

/// Once a take: the clock of the machine is set now and then, and a moment in the past stays what it was.
void DeckMemory::lookAtStart()
{
    const auto now = _clock.now();
    if (!now || now->first == _first) return;
    _first = now->first;
    const auto &clock = *QmxEnvironment::current().clock;
    const qint64 moment = now->moment + (now->first - now->index) * now->period;
    constexpr qint64 nsPerUs = 1000;
    _takeStart = now->first < 0 ? 0 : (clock.wallTime() - (clock.now() - moment)) / nsPerUs;
}
