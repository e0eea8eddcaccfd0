// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/control/control.h"

#include "platform/control/deckparts.h"
#include "platform/control/ownership.h"
#include "platform/control/transportanswers.h"
#include "platform/qmx/core/qmxloglevel.h"
#include "platform/store/eparamcontrol.h"

#include <QJsonDocument>
#include <QStringList>

#include <mutex>
#include <utility>

#include <unistd.h>

namespace {
constexpr auto module = "control";
/// How often a verb that waits looks whether another one took over.
constexpr std::chrono::milliseconds lookEvery(25);

QString asTyped(const Request &request)
{
    QStringList words{request.verb};
    for (auto argument = request.arguments.begin(); argument != request.arguments.end(); ++argument)
        words << argument.key() + "=" + argument.value();
    if (request.force) words << "force";
    return words.join(' ');
}

/// Of all objects of this process: what its own fronts announce is seen at once.
std::atomic<unsigned> announcements = 0;

QJsonObject objectOf(const QString &text)
{
    return QJsonDocument::fromJson(text.toUtf8()).object();
}
} // namespace

Control::Control(const QString &client) : _recorder(client)
{
    _recorder.setAbandon([this] { return _isGivenUp || isSuperseded(); });
}

Control::~Control() = default;

std::optional<Answer> Control::refusal(const VerbRow &row, const Request &request, const Who &who)
{
    if (auto wrong = wrongArguments(row, request)) return wrong;
    if (who.role < row.role())
        return Answer::refused(Cause::Role, "not_allowed",
                               QStringLiteral("%1 may %2; this needs %3")
                                   .arg(who.text(), roleName(who.role), roleName(row.role())));
    if (const QString problem = _recorder.storeProblem(); !problem.isEmpty()) return storeError(problem);
    if (row.needs == Needs::Daemon && !_recorder.daemonIsRunning()) return noDaemon();
    return Ownership(_recorder).refusal(row, request, who);
}

std::optional<Answer> Control::mediumRefusal(const Who &who, bool force)
{
    static const VerbRow row{
        "medium", "", {}, VerbRow::MovesTransport | VerbRow::EndsTake, Needs::Store, "", "", {}, "", nullptr};
    Request request;
    request.force = force;
    return Ownership(_recorder).refusal(row, request, who);
}

Answer Control::perform(const Request &request, const Who &who)
{
    const VerbRow *row = findVerb(request.verb);
    if (!row)
        return Answer::refused(Cause::Argument, "no_such_verb",
                               QStringLiteral("there is no verb '%1'").arg(request.verb));
    _supersededBy = {};
    // A take must end also when nobody can say more than that.
    if (row->has(VerbRow::StopsTake) && who.role >= row->role() && !_recorder.storeProblem().isEmpty() &&
        _recorder.daemonIsRunning()) {
        Answer answer = performStopWithoutStore(_recorder);
        tell(request, who, answer);
        return answer;
    }
    if (const auto refused = refusal(*row, request, who)) {
        tell(request, who, *refused);
        return *refused;
    }
    // (What a row refuses by itself takes over from nobody.)
    if (row->has(VerbRow::MovesTransport))
        _recorder.setTurn(
            [&](const Recorder::Write &write) { return writeInTurn(request, who, write, *row); });
    else if (request.given)
        request.given();
    Answer answer = row->run({_recorder, request, who});
    _recorder.setTurn({});
    // A store that is locked, say: the take does not wait for it.
    if (std::exchange(_isUnannounced, false) && row->has(VerbRow::StopsTake) && !answer.isDone() &&
        _recorder.daemonIsRunning()) {
        _announced.clear();
        answer = performStopWithoutStore(_recorder);
    }
    if (!answer.isDone() && !_supersededBy.isEmpty()) answer = superseded();
    _announced.clear();
    tell(request, who, answer);
    return answer;
}

QString Control::writeInTurn(const Request &request, const Who &who, const Recorder::Write &write,
                             const VerbRow &row)
{
    // One at a time in this process: between the look and the write nobody else of it announces anything.
    static std::mutex turn;
    const std::lock_guard lock(turn);
    const bool isFirst = _announced.isEmpty();
    if (isFirst) {
        QString problem = announce(request, who);
        _isUnannounced = !problem.isEmpty();
        if (_isUnannounced && row.has(VerbRow::StopsTake)) return problem; // it has another way
        if (!_isUnannounced) Ownership(_recorder).renew(who);
    } else if (looksSuperseded()) {
        return superseded().sentence;
    }
    QString problem = write();
    if (isFirst && request.given) request.given();
    return problem;
}

QString Control::announce(const Request &request, const Who &who)
{
    _announcements = ++announcements;
    _announced = QStringLiteral("%1.%2.%3").arg(getpid()).arg(_recorder.timeOfDay()).arg(_announcements);
    _announcedVerb = asTyped(request);
    QJsonObject object = who.toJson();
    object["operator"] = object["id"];
    object["id"] = _announced;
    object["verb"] = _announcedVerb;
    object["time"] = _recorder.timeOfDay();
    // Goes on as before: whoever comes later learns from here how fast that is.
    if (request.verb == QLatin1String("angle"))
        object["speed"] = DeckParameters::speedAskedFor(_recorder.config());
    _nextLook = _recorder.environment().clock->after(lookEvery);
    return _recorder.write(eParam_ControlVerb,
                           QString::fromUtf8(QJsonDocument(object).toJson(QJsonDocument::Compact)));
}

bool Control::isSuperseded()
{
    if (_announced.isEmpty() || !_supersededBy.isEmpty()) return !_supersededBy.isEmpty();
    const qint64 now = _recorder.environment().clock->now();
    if (now < _nextLook && _announcements == announcements) return false; // of others: soon enough
    return looksSuperseded();
}

bool Control::looksSuperseded()
{
    if (!_supersededBy.isEmpty()) return true;
    if (_isUnannounced) return false; // what stands there is a verb of before
    _announcements = announcements;
    _nextLook = _recorder.environment().clock->after(lookEvery);
    const QJsonObject last = objectOf(_recorder.text(eParam_ControlVerb));
    const QString id = last["id"].toString();
    if (id.isEmpty() || id == _announced) return false;
    // The same asked for once more has the same effect: both wait for it.
    if (last["verb"].toString() == _announcedVerb && !_announcedVerb.startsWith("step")) {
        _announced = id;
        return false;
    }
    _supersededBy = last;
    return true;
}

Answer Control::superseded() const
{
    Answer answer =
        Answer::refused(Cause::Deck, "superseded",
                        QStringLiteral("%1 took over, by %2")
                            .arg(_supersededBy["verb"].toString(), Who::fromJson(_supersededBy).text()));
    answer.kind = Answer::Kind::Superseded;
    answer.effect = {{"verb", _supersededBy["verb"]}, {"name", _supersededBy["name"]}};
    return answer;
}

void Control::tell(const Request &request, const Who &who, const Answer &answer) const
{
    QString line = QStringLiteral("%1: %2: %3").arg(who.text(), asTyped(request), answer.kindName());
    if (!answer.isDone()) line += QStringLiteral(" (%1): %2").arg(answer.code, answer.sentence);
    if (_log)
        _log(line);
    else
        qmxLogText(answer.isDone() ? QmxLogLevel::Info : QmxLogLevel::Warning, module, __LINE__, line);
}
