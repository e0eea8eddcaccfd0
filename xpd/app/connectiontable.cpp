// SPDX-License-Identifier: GPL-3.0-or-later
#include "xpd/app/connectiontable.h"

namespace {

using P = ConnectionParty;
using S = ConnectionStage;

// clang-format off
constexpr ConnectionRow connections[] = {
    {586, S::Config, P::Config, "paramChanged(quint32, const QVariant &, const QmxTimeStamp &)",
                     P::Main, "configParamChanged(quint32, const QVariant &, const QmxTimeStamp &)"},

    {592, S::Media, P::Media, "shouldRolloverNow()", P::Main, "startRollover()"},
    {594, S::Media, P::Media, "rolloverCompleted(bool, const QString &, const QString &)",
                    P::Main, "finishRollover(bool, const QString &, const QString &)"},
    {595, S::Media, P::Media, "storageInUse(bool)", P::ConfigUpdater, "setStorageInUse(bool)"},
    {596, S::Media, P::Media, "stopRecordNow()", P::Main, "stopRecordNow()"},
    {597, S::Media, P::Media, "rolloverCompletedByMediaDaemon()", P::Main, "rolloverCompletedByMediaDaemon()"},

    {602, S::Transport, P::Application, "aboutToQuit()", P::Main, "shutdown()"},
    {604, S::Transport, P::Transport, "vbi(const QmxVbiInfo &)", P::Main, "vbi(const QmxVbiInfo &)"},
    {606, S::Transport, P::Transport, "streamIsOpen(const QmxError &, const QmxStreamInfo &)",
                        P::Main, "vtrStreamIsOpen(const QmxError &, const QmxStreamInfo &)"},
    {608, S::Transport, P::Transport, "streamIsClosed()", P::Main, "vtrStreamIsClosed()"},
    {610, S::Transport, P::Transport, "stateChanged(const VtrState &, const VtrState &)",
                        P::Main, "vtrStateChanged(const VtrState &, const VtrState &)"},
    {612, S::Transport, P::Transport, "modeChanged(const VtrMode &, const VtrMode &)",
                        P::Main, "vtrModeChanged(const VtrMode &, const VtrMode &)"},
    {614, S::Transport, P::Transport, "inputFormatChanged(int, const QmxVideoState &)",
                        P::Main, "vtrInputFormatChanged(int, const QmxVideoState &)"},
    {616, S::Transport, P::Transport, "requestRecordStreamDesc(QVariant &)",
                        P::Main, "generateRecordStreamDesc(QVariant &)"},
    {618, S::Transport, P::Transport, "requestPlaybackStreamDesc(QVariant &, int &)",
                        P::Main, "generatePlaybackStreamDesc(QVariant &, int &)"},
    {620, S::Transport, P::Transport, "requestRecordInhibit(QmxId &)", P::Main, "shouldInhibitRecord(QmxId &)"},
    {622, S::Transport, P::Transport, "firmwareLoading(const QString &, bool)",
                        P::Main, "firmwareLoading(const QString &, bool)"},
    {624, S::Transport, P::Transport, "videoDeviceSetupChanged(const QmxVideoDeviceSetup &)",
                        P::Main, "vtrVideoDeviceSetupChanged(const QmxVideoDeviceSetup &)"},
    {625, S::Transport, P::Transport, "raiseVFRAlarm(bool)", P::Main, "vtrRaiseVFRAlarm(bool)"},
    {626, S::Transport, P::Transport, "recordFailedToStart(QmxId &)", P::Main, "recordFailedToStart(QmxId &)"},
    {627, S::Transport, P::Transport, "storageInUse(bool)", P::Media, "setStorageInUse(bool)"},

    {632, S::Keyboard, P::Keyboard, "quit()", P::Application, "quit()"},
    {633, S::Keyboard, P::Keyboard, "play(double)", P::Transport, "play(double)"},
    {634, S::Keyboard, P::Keyboard, "still()", P::Transport, "still()"},
    {635, S::Keyboard, P::Keyboard, "rewind()", P::Transport, "rewind()"},
    {636, S::Keyboard, P::Keyboard, "fastfwd()", P::Transport, "fastfwd()"},
    {637, S::Keyboard, P::Keyboard, "step(int)", P::Transport, "step(int)"},
    {638, S::Keyboard, P::Keyboard, "record()", P::Transport, "record()"},
    {639, S::Keyboard, P::Keyboard, "toggleMeta()", P::Main, "toggleMeta()"},
    {640, S::Keyboard, P::Keyboard, "cameraRecord()", P::Main, "cameraRecord()"},
    {641, S::Keyboard, P::Keyboard, "standbyOff()", P::Transport, "standbyOff()"},
    {642, S::Keyboard, P::Keyboard, "refreshed()", P::Main, "transportRefreshed()"},

    {649, S::Alarms, P::Main, "alarmTriggered(const QmxAlarm &)", P::Alarms, "handleAlarm(const QmxAlarm &)"},
    {650, S::Alarms, P::Transport, "alarmTriggered(const QmxAlarm &)",
                     P::Alarms, "handleAlarm(const QmxAlarm &)"},
    {651, S::Alarms, P::Transport, "stateChanged(const VtrState &, const VtrState &)",
                     P::Alarms, "stateChanged(const VtrState &, const VtrState &)"},

    {660, S::DebugServer, P::DebugServer, "lineReceived(int, const QString &)",
                          P::Main, "debugServerLineReceived(int, const QString &)"},
};
// clang-format on

const char *partyExpression(ConnectionParty party)
{
    switch (party) {
    case P::Main:
        return "this";
    case P::Application:
        return "QCoreApplication::instance()";
    case P::Config:
        return "_config";
    case P::ConfigUpdater:
        return "_configUpdater";
    case P::Media:
        return "_mediaManager";
    case P::Transport:
        return "_vtr";
    case P::Keyboard:
        return "_kbtrans";
    case P::Alarms:
        return "_alarmHandler";
    case P::DebugServer:
        return "_debugServer";
    }
    return "?";
}

} // namespace

std::span<const ConnectionRow> connectionTable()
{
    return connections;
}

QByteArray connectExpression(const ConnectionRow &row)
{
    return QByteArray("connect(") + partyExpression(row.sender) + ", SIGNAL(" + row.signal + "), " +
           partyExpression(row.receiver) + ", SLOT(" + row.slot + "))";
}
