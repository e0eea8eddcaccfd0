// SPDX-License-Identifier: GPL-3.0-or-later
// media, copy, protect, unprotect, delete: what the media daemon sees and does for the operator.
#include "companions/ctl/commands.h"

#include "platform/product/mediaorder.h"
#include "platform/qmx/core/qmxlockfile.h"
#include "platform/store/configfactoryimpl.h"
#include "platform/store/eparammedia.h"

#include <QJsonArray>
#include <QJsonDocument>

#include <mutex>
#include <unistd.h>

namespace {
constexpr auto mediaDaemonLock = "/var/lock/xpmediad.lock";
constexpr auto startMediaDaemon = "start it with: systemctl start xpmediad (in a checkout: ./xp run)";
constexpr int lookTime = 1000;   // ms between looks whether the media daemon is still there
constexpr int answerTime = 5000; // ms until the media daemon has said a first word

/// 0: it does not run.
int mediaDaemon()
{
    return QmxLockFile(mediaDaemonLock).whoHasLock();
}

QString timeText(int seconds)
{
    constexpr int minute = 60;
    constexpr int hour = 3600;
    if (seconds < 0) return QStringLiteral("unknown");
    return QStringLiteral("%1:%2:%3")
        .arg(seconds / hour)
        .arg(seconds % hour / minute, 2, 10, QChar('0'))
        .arg(seconds % minute, 2, 10, QChar('0'));
}

/// The folder that "B", "/media/B" or a label stands for.
std::string mediumNamed(const Recorder &recorder, const std::string &name)
{
    for (const MediumReport &medium : MediumReport::parse(recorder.text(eParam_MediaReport).toStdString())) {
        const bool isLast = medium.path.ends_with("/" + name);
        if (medium.path == name || medium.label == name || isLast) return medium.path;
    }
    return name;
}

/// Hears each state of one order; the parameter holds it only until the next order begins.
class OrderStates : public ConfigEventListener
{
public:
    explicit OrderStates(std::string id) : _id(std::move(id)) {}
    std::optional<MediaOrderState> last() const
    {
        const std::lock_guard lock(_mutex);
        return _last;
    }

private:
    using ConfigEventListener::ParamChanged;
    void ParamChanged(eParam_t, unsigned, timeval) override {}
    void ParamChanged(eParam_t id, std::string value, timeval) override
    {
        const auto state = id == eParam_MediaOrderState ? MediaOrderState::parse(value) : std::nullopt;
        const std::lock_guard lock(_mutex);
        if (state && state->id == _id) _last = state;
    }

    const std::string _id;
    mutable std::mutex _mutex;
    std::optional<MediaOrderState> _last;
};

ExitCode giveOrder(Recorder &recorder, const Report &report, const Arguments &arguments, const char *verb)
{
    const int daemon = mediaDaemon();
    if (daemon == 0)
        return report.error(ExitCode::NoDaemon, "the media daemon is not running, so nothing can be done",
                            startMediaDaemon);
    MediaOrder order;
    order.id = std::to_string(getpid()) + "." + std::to_string(QmxEnvironment::current().clock->now());
    order.verb = verb;
    order.clip = arguments.word(0);
    order.from = recorder.text(eParam_ActiveMediaPath).toStdString();
    if (const auto slash = order.clip.rfind('/'); slash != std::string::npos) {
        order.from = order.clip.substr(0, slash);
        order.clip = order.clip.substr(slash + 1);
    }
    if (!arguments.word(1).empty()) order.to = mediumNamed(recorder, arguments.word(1));
    OrderStates states(order.id);
    const std::unique_ptr<Config> events(
        ConfigFactoryImpl::GetInstance()->create(GetConfigURI("udp"), "xpctl-order", false));
    events->addListener(&states);
    if (const QString problem = recorder.write(eParam_MediaOrder, QString::fromStdString(order.print()));
        !problem.isEmpty())
        return report.error(ExitCode::NoStore, problem);
    if (!arguments.wait) return ExitCode::Done;

    std::optional<MediaOrderState> state;
    int shown = -1;
    const auto told = [&] {
        state = states.last();
        if (state && state->state == "running" && state->percent != shown) {
            shown = state->percent;
            report.line(QStringLiteral("%1 %  %2").arg(shown).arg(QString::fromStdString(state->text)),
                        {{"percent", shown}});
        }
        return state && state->state != "running";
    };
    if (!recorder.waitFor([&] { return told() || state; }, answerTime) && !Recorder::wasInterrupted())
        return report.error(ExitCode::Refused,
                            "the media daemon does not answer; it may still do this when it goes on",
                            "look at its log: journalctl -u xpmediad; to forget the order: systemctl "
                            "restart xpmediad");
    while (!told() && !Recorder::wasInterrupted() && mediaDaemon() == daemon)
        recorder.waitFor(told, lookTime); // a copy takes as long as it takes
    if (!told() && mediaDaemon() != daemon)
        return report.error(ExitCode::NoDaemon, "the media daemon has ended before it was done",
                            "give the order again");
    if (!state || state->state == "running")
        return report.error(ExitCode::Interrupted, "the media daemon goes on with it",
                            "`xpctl get media_order_state` shows how far it is");
    const QString text = QString::fromStdString(state->text);
    if (state->state != "done") return report.error(ExitCode::Refused, text);
    report.result(text, {{"clip", QString::fromStdString(order.clip)}, {"result", text}});
    return ExitCode::Done;
}
} // namespace

ExitCode ctlMedia(Recorder &recorder, const Report &report, const Arguments &)
{
    if (mediaDaemon() == 0)
        return report.error(ExitCode::NoDaemon,
                            "the media daemon is not running: nobody looks after the media",
                            startMediaDaemon);
    const QString stored = recorder.text(eParam_MediaReport);
    const int together = int(recorder.number(eParam_RecordTimeLeft));
    QString text;
    for (const MediumReport &medium : MediumReport::parse(stored.toStdString())) {
        text += QStringLiteral("%1  %2  %3  %4 % free  %5 %6  time left %7\n")
                    .arg(QString::fromStdString(medium.path), -20)
                    .arg(QString::fromStdString(medium.label), -16)
                    .arg(QString::fromStdString(medium.state), -9)
                    .arg(medium.percentFree, 3)
                    .arg(medium.clips, 5)
                    .arg(medium.clips == 1 ? QStringLiteral("clip ") : QStringLiteral("clips"))
                    .arg(timeText(medium.secondsLeft));
    }
    if (text.isEmpty())
        text = QStringLiteral("no media: nothing is mounted below /media\n");
    else if (together > 0)
        text += QStringLiteral("a take can become %1 long\n").arg(timeText(together));
    report.result(text,
                  {{"media", QJsonDocument::fromJson(stored.toUtf8()).array()}, {"seconds_left", together}});
    return ExitCode::Done;
}

ExitCode ctlCopy(Recorder &recorder, const Report &report, const Arguments &arguments)
{
    return giveOrder(recorder, report, arguments, "copy");
}

ExitCode ctlProtect(Recorder &recorder, const Report &report, const Arguments &arguments)
{
    return giveOrder(recorder, report, arguments, "protect");
}

ExitCode ctlUnprotect(Recorder &recorder, const Report &report, const Arguments &arguments)
{
    return giveOrder(recorder, report, arguments, "unprotect");
}

ExitCode ctlDelete(Recorder &recorder, const Report &report, const Arguments &arguments)
{
    return giveOrder(recorder, report, arguments, "delete");
}
