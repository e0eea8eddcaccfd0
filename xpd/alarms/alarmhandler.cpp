// SPDX-License-Identifier: GPL-3.0-or-later
#include "xpd/alarms/alarmhandler.h"

#include "platform/qmx/core/qmxid.h"
#include "platform/qmx/core/qmxloglevel.h"
#include "platform/store/alarmproducer.h"
#include "platform/store/alarms.h"
#include "platform/store/alarms.pb.h"
#include "xpd/alarms/alarmevents.h"
#include "xpd/config/configinterface.h"
#include "xpd/transport/vtrstate.h"

namespace {

constexpr const char *logSource = "alarmhandler";

// Line numbers in the log name the message and stay when the source moves.
enum LogLine : int {
    UnknownAlarm = 114,
    UnhandledAlarm = 121,
    Delayed = 133,
    RaisingWarning = 137,
    RaisingError = 138,
    Clearing = 142,
    ClearingByEvent = 155,
    RaisingByEvent = 160
};

} // namespace

AlarmHandler::AlarmHandler(QObject *parent) : QObject(parent)
{
    for (const AlarmRow &row : alarmTable())
        if (row.id.isValid())
            _alarms.insert_or_assign(row.param, QmxAlarm(row.id, QmxAlarm::Clear, QString(), QString(), 0));
}

void AlarmHandler::setConfigInterface(ConfigInterface *config)
{
    _config = config->configObject();
}

void AlarmHandler::onEvent(const QString &clear_attribute, const QString &raise_attribute)
{
    if (!_config) return;
    const std::string clearName = clear_attribute.toStdString();
    const std::string raiseName = raise_attribute.toStdString();
    for (auto &[param, alarm] : _alarms) {
        const ParamDescriptor *descriptor = _config->descriptor(param);
        if (!descriptor) continue;
        if (descriptor->hasAttribute(clearName)) {
            qmxLogText(QmxLogLevel::Info, logSource, ClearingByEvent,
                       QStringLiteral("Clearing ALARM (%1): %2").arg(clear_attribute, alarmToString(alarm)));
            alarm.setLevel(QmxAlarm::Clear);
            AlarmProducer::clear(_config, param);
        }
        if (descriptor->hasAttribute(raiseName) && alarm.isActive()) {
            qmxLogText(QmxLogLevel::Warning, logSource, RaisingByEvent,
                       QStringLiteral("Raising ALARM (%1): %2").arg(raise_attribute, alarmToString(alarm)));
            raise(param, alarm);
        }
    }
}

void AlarmHandler::onPlayPressed()
{
    onEvent(playPressed.clearAttribute, playPressed.raiseAttribute);
}

void AlarmHandler::onStopPressed()
{
    onEvent(stopPressed.clearAttribute, stopPressed.raiseAttribute);
}

void AlarmHandler::onRecordPressed()
{
    onEvent(recordPressed.clearAttribute, recordPressed.raiseAttribute);
}

void AlarmHandler::onPlayback()
{
    onEvent(playback.clearAttribute, playback.raiseAttribute);
}

void AlarmHandler::onRecord()
{
    onEvent(record.clearAttribute, record.raiseAttribute);
}

void AlarmHandler::onStandbyOff()
{
    onEvent(standbyOff.clearAttribute, standbyOff.raiseAttribute);
}

void AlarmHandler::stateChanged(const VtrState &oldState, const VtrState &newState)
{
    if (oldState.mode() == newState.mode()) return;
    if (newState.mode().isInModePlay())
        onPlayback();
    else if (newState.mode().isInModeRecord())
        onRecord();
}

void AlarmHandler::handleAlarm(const QmxAlarm &alarm)
{
    eParam_t param{};
    QmxAlarm stored;
    if (!findAlarm(alarm.id(), param, stored)) {
        qmxLogText(QmxLogLevel::Error, logSource, UnknownAlarm,
                   QStringLiteral("Unable to find alarm for id %1").arg(alarmToString(alarm)));
        return;
    }
    if (!stored.id().isValid() || !_config) {
        if (alarm.isActive())
            qmxLogText(QmxLogLevel::Warning, logSource, UnhandledAlarm,
                       QStringLiteral("Unhandled alarm: %1").arg(alarmToString(alarm)));
        return;
    }
    if (stored == alarm) return;

    _alarms.insert_or_assign(param, alarm);
    if (!alarm.isActive()) {
        // Also for one that was only delayed: the store may hold another process's state of it.
        qmxLogText(QmxLogLevel::Info, logSource, Clearing,
                   QStringLiteral("Clearing ALARM: %1").arg(alarmToString(alarm)));
        AlarmProducer::clear(_config, param);
        return;
    }
    if (isDelayed(param)) {
        qmxLogText(QmxLogLevel::Info, logSource, Delayed,
                   QStringLiteral("Delayed ALARM: %1").arg(alarmToString(alarm)));
        return;
    }
    const QString text = QStringLiteral("Raising ALARM: %1").arg(alarmToString(alarm));
    if (alarm.isWarning())
        qmxLogText(QmxLogLevel::Warning, logSource, RaisingWarning, text);
    else
        qmxLogText(QmxLogLevel::Error, logSource, RaisingError, text);
    raise(param, alarm);
}

QString AlarmHandler::alarmToString(const QmxAlarm &alarm)
{
    // The multi-argument form: a message may itself contain a percent sign.
    return QStringLiteral("%1:%2 (%3) %4 %5:%6")
        .arg(alarm.isWarning() ? QStringLiteral("Warn") : QStringLiteral("Err"), alarm.id().name(),
             alarm.isActive() ? QStringLiteral("Raised") : QStringLiteral("Clear"), alarm.message(),
             alarm.sourceFile(), QString::number(alarm.line()));
}

bool AlarmHandler::findAlarm(const QmxId &id, eParam_t &param, QmxAlarm &alarm) const
{
    for (const auto &[key, stored] : _alarms) {
        if (stored.id() == id) {
            param = key;
            alarm = stored;
            return true;
        }
    }
    return false;
}

bool AlarmHandler::isDelayed(eParam_t param) const
{
    const ParamDescriptor *descriptor = _config->descriptor(param);
    if (!descriptor) return false;
    for (const std::string &attribute : alarmDelayAttributes()) {
        if (descriptor->hasAttribute(attribute)) return true;
    }
    return false;
}

void AlarmHandler::raise(eParam_t param, const QmxAlarm &alarm)
{
    AlarmProducer::raise(_config, param,
                         alarm.isWarning() ? kel::alarms::Alarm::WARNING : kel::alarms::Alarm::ERROR,
                         alarm.message().toStdString());
}
