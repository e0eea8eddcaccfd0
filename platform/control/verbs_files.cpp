// SPDX-License-Identifier: GPL-3.0-or-later
// copy, protect, unprotect, delete, rename, verify, export, cancel, schedule: what the media daemon does for
// the operator.
#include "platform/control/transportanswers.h"

#include "platform/control/mediadaemonlock.h"
#include "platform/product/clipscan.h"
#include "platform/product/mediaorder.h"
#include "platform/store/configfactoryimpl.h"
#include "platform/store/eparam.h"

#include <QDir>
#include <QJsonDocument>
#include <QRegularExpression>

#include <algorithm>
#include <atomic>
#include <mutex>
#include <unistd.h>

namespace {
constexpr std::chrono::milliseconds lookTime(1000);   // between looks whether the media daemon is still there
constexpr std::chrono::milliseconds answerTime(5000); // until the media daemon has said a first word

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

/// What a clip shall be called: with the ending of the old name when the new one has none of a clip.
std::string newName(const VerbCall &call, const std::string &clip)
{
    const std::string name = call.text("name").toStdString();
    return isClipName(name) ? name : name + clip.substr(std::min(clip.rfind('.'), clip.size()));
}

MediaOrder newOrder(const VerbCall &call)
{
    static std::atomic<unsigned> count = 0;
    MediaOrder order;
    order.id = std::to_string(getpid()) + "." + std::to_string(call.recorder.environment().clock->now()) +
               "." + std::to_string(++count);
    order.verb = call.request.verb.toStdString();
    return order;
}

MediaOrder orderOf(const VerbCall &call)
{
    MediaOrder order = newOrder(call);
    order.clip = call.text("clip").toStdString();
    order.from = call.recorder.text(eParam_ActiveMediaPath).toStdString();
    // By its name alone a clip is meant wherever it lies; by its path only there.
    order.everywhere = order.clip.find('/') == std::string::npos;
    if (const auto slash = order.clip.rfind('/'); slash != std::string::npos) {
        order.from = order.clip.substr(0, slash);
        order.clip = order.clip.substr(slash + 1);
    }
    if (order.verb == "rename") order.to = newName(call, order.clip);
    if (const std::string medium = call.text("medium").toStdString(); !medium.empty())
        order.to = mediumNamed(call.recorder, medium);
    return order;
}

Answer giveOrder(const VerbCall &call, const MediaOrder &order)
{
    Recorder &recorder = call.recorder;
    const int daemon = mediaDaemonPid();
    if (daemon == 0) return noMediaDaemon(", so nothing can be done");
    OrderStates states(order.id);
    const std::unique_ptr<Config> events(
        ConfigFactoryImpl::GetInstance()->create(GetConfigURI("udp"), "order-" + order.id, false));
    events->addListener(&states);
    if (const QString problem = recorder.write(eParam_MediaOrder, QString::fromStdString(order.print()));
        !problem.isEmpty())
        return storeError(problem);
    if (!call.request.wait) return Answer::done();

    std::optional<MediaOrderState> state;
    int shown = -1;
    const auto told = [&] {
        state = states.last();
        if (state && state->state == "running" && state->percent != shown) {
            shown = state->percent;
            if (call.request.progress) call.request.progress(shown, QString::fromStdString(state->text));
        }
        return state && state->state != "running";
    };
    const auto begins = [&] { return told() || state || mediaDaemonPid() != daemon; };
    if (!recorder.waitFor(begins, answerTime) && !recorder.isAbandoned())
        return Answer::givenUp(Cause::Deck, "no_answer",
                               "the media daemon does not answer; it may still do this when it goes on",
                               "look at its log: journalctl -u xpmediad; to forget the order: systemctl "
                               "restart xpmediad");
    while (!told() && !recorder.isAbandoned() && mediaDaemonPid() == daemon)
        recorder.waitFor(told, lookTime); // a copy takes as long as it takes
    if (!told() && mediaDaemonPid() != daemon)
        return Answer::givenUp(Cause::Daemon, "daemon_ended", "the media daemon has ended before it was done",
                               "give the order again");
    if ((!state || state->state == "running") && order.verb == "export") {
        // What nobody waits for any more is not made; a copy and a check go on by themselves.
        MediaOrder cancel;
        cancel.id = order.id + ".cancel";
        cancel.verb = "cancel";
        cancel.clip = order.id;
        recorder.write(eParam_MediaOrder, QString::fromStdString(cancel.print()));
        return Answer::givenUp(Cause::Interrupted, "interrupted",
                               "the export is ended; nothing of it is left");
    }
    if (!state || state->state == "running")
        return Answer::givenUp(Cause::Interrupted, "interrupted", "the media daemon goes on with it",
                               "`xpctl get media_order_state` shows how far it is");
    const QString text = QString::fromStdString(state->text);
    if (state->state != "done") return Answer::refused(Cause::Deck, "order_refused", text);
    QJsonObject effect = QJsonDocument::fromJson(QByteArray::fromStdString(state->report)).object();
    if (!order.clip.empty()) effect["clip"] = QString::fromStdString(order.clip);
    effect["result"] = text;
    return Answer::done(text, effect);
}

bool isMedium(const Recorder &recorder, const std::string &path)
{
    const auto reports = MediumReport::parse(recorder.text(eParam_MediaReport).toStdString());
    return std::any_of(reports.begin(), reports.end(),
                       [&path](const MediumReport &medium) { return path == medium.path; });
}

/// A path below a medium that is there.
bool isOnMedium(const Recorder &recorder, const std::string &path)
{
    const auto reports = MediumReport::parse(recorder.text(eParam_MediaReport).toStdString());
    return path.find("/../") == std::string::npos &&
           std::any_of(reports.begin(), reports.end(),
                       [&path](const MediumReport &medium) { return path.starts_with(medium.path + "/"); });
}

/// The path of the file that shall be made: on a medium it is called as the clip is, with the ending of what
/// it becomes when it has none.
std::string exportPath(const VerbCall &call, const std::string &clip, bool isProxy)
{
    const std::string active = call.recorder.text(eParam_ActiveMediaPath).toStdString();
    std::string to = call.text("to").toStdString();
    if (to.size() > 1 && to.ends_with('/')) to.pop_back();
    const std::string medium = mediumNamed(call.recorder, to);
    if (medium != to || isMedium(call.recorder, to)) {
        const std::string name = clip.empty() ? "play_list" : clip.substr(clip.rfind('/') + 1);
        to = medium + "/" + name.substr(0, std::min(name.rfind('.'), name.size()));
    } else if (to.find('/') == std::string::npos) {
        to = active + "/" + to;
    } else if (!to.starts_with('/')) {
        to = QDir::current().absoluteFilePath(QString::fromStdString(to)).toStdString();
    }
    return isClipName(to.substr(to.rfind('/') + 1)) ? to : to + (isProxy ? ".mp4" : ".mov");
}
} // namespace

Answer performSchedule(const VerbCall &call)
{
    MediaOrder order = newOrder(call);
    order.from = call.text("at").toStdString();
    order.to = call.text("until").toStdString();
    return giveOrder(call, order);
}

Answer performUnschedule(const VerbCall &call)
{
    MediaOrder order = newOrder(call);
    order.clip = call.text("number").toStdString();
    return giveOrder(call, order);
}

Answer performCopy(const VerbCall &call)
{
    return giveOrder(call, orderOf(call));
}

Answer performProtect(const VerbCall &call)
{
    return giveOrder(call, orderOf(call));
}

Answer performUnprotect(const VerbCall &call)
{
    return giveOrder(call, orderOf(call));
}

Answer performDelete(const VerbCall &call)
{
    return giveOrder(call, orderOf(call));
}

Answer performRename(const VerbCall &call)
{
    Answer answer = giveOrder(call, orderOf(call));
    if (!answer.isDone() || !call.request.wait) return answer;
    // What names the clip goes on naming it.
    Recorder &recorder = call.recorder;
    const std::string clip = call.text("clip").toStdString();
    const std::string before = clip.substr(clip.rfind('/') + 1);
    const QString old = QString::fromStdString(before);
    const QString now = QString::fromStdString(newName(call, before));
    // A part of it keeps its frames.
    const QRegularExpression named('^' + QRegularExpression::escape(old) + "(\\[[^\\[]*\\))?$");
    const auto renamed = [&](const QString &text) {
        const QRegularExpressionMatch match = named.match(text);
        return match.hasMatch() ? now + match.captured(1) : text;
    };
    const QString current = recorder.text(eParam_CurrentClip);
    if (renamed(current) != current) recorder.write(eParam_CurrentClip, renamed(current));
    const QStringList list = recorder.text(eParam_PlayList).split('\n');
    QStringList entries;
    std::transform(list.begin(), list.end(), std::back_inserter(entries), renamed);
    if (entries == list) return answer;
    recorder.write(eParam_PlayList, entries.join('\n'));
    recorder.write(eParam_PlayListChanged, 1U);
    return answer;
}

Answer performVerify(const VerbCall &call)
{
    const bool isAll = call.isOn("all");
    if (isAll == call.has("clip"))
        return Answer::refused(Cause::Argument, "wrong_argument",
                               isAll ? "either one clip or all can be verified" : "which clip is missing",
                               "for example: xpctl verify take_001.mov, xpctl verify --all");
    Answer answer = giveOrder(call, orderOf(call));
    if (!answer.isDone() || answer.effect.value("is_whole").toBool(true)) return answer;
    Answer damaged =
        Answer::refused(Cause::Deck, "clip_damaged", answer.sentence,
                        "play another copy, if there is one; check the medium before recording on it again");
    damaged.effect = answer.effect;
    return damaged;
}

Answer performExport(const VerbCall &call)
{
    const bool isList = call.isOn("list");
    const bool isProxy = call.isOn("proxy");
    Recorder &recorder = call.recorder;
    // With the list there is no clip, and a shell's first word is where it goes.
    Request request = call.request;
    if (isList && !call.has("to")) request.arguments["to"] = request.arguments.take("clip");
    const VerbCall given{recorder, request, call.who};
    const std::string clip = isList ? std::string() : given.text("clip").toStdString();
    if (given.text("to").isEmpty() || (!isList && clip.empty()))
        return Answer::refused(Cause::Argument, "wrong_argument",
                               isList || !clip.empty() ? "where it shall go is missing"
                                                       : "which clip is missing",
                               "for example: xpctl export take_001.mov B, xpctl export --list B");
    MediaOrder order = newOrder(given);
    order.from = recorder.text(eParam_ActiveMediaPath).toStdString();
    order.proxy = isProxy;
    order.burn = call.isOn("burn");
    order.to = exportPath(given, clip, isProxy);
    order.entries = isList ? recorder.text(eParam_PlayList).toStdString() : clip;
    if (!isList && (call.has("in") || call.has("out")))
        order.entries += ('[' + call.text("in") + '-' + call.text("out") + ')').toStdString();
    if (order.entries.empty())
        return Answer::refused(Cause::Deck, "nothing_to_play", "the play list is empty");
    // (Which media there are is known by it alone.)
    if (mediaDaemonPid() == 0) return noMediaDaemon(", so nothing can be done");
    // Who is not at the machine reaches the media and nothing else.
    const bool isElsewhere = clip.find('/') != std::string::npos && !isOnMedium(recorder, clip);
    if (call.who.isNetwork() && isElsewhere)
        return Answer::refused(Cause::Argument, "wrong_argument", "clips come from media",
                               "`xpctl media` lists them");
    if (!isOnMedium(recorder, order.to))
        return Answer::refused(
            Cause::Argument, "wrong_argument",
            QString::fromStdString(order.to) + " is on no medium, and exports go to media",
            "`xpctl media` lists them; what has been exported can be copied to wherever you may write");
    return giveOrder(given, order);
}

Answer performCancel(const VerbCall &call)
{
    return giveOrder(call, newOrder(call));
}
