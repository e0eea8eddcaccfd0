// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/control/ownership.h"

#include "platform/control/transportanswers.h"
#include "platform/control/verbs_take.h"
#include "platform/qmx/core/qmxenvironment.h"
#include "platform/qmx/core/qmxplaces.h"
#include "platform/store/eparamcontrol.h"
#include "platform/store/storelock.h"

#include <QDateTime>
#include <QJsonDocument>

#include <cerrno>

namespace {
constexpr std::chrono::seconds lockWithin(5);

enum Protection : unsigned { Off, Network, All };

QString compact(const QJsonObject &object)
{
    return QString::fromUtf8(QJsonDocument(object).toJson(QJsonDocument::Compact));
}

QString timeText(qint64 ms)
{
    return QDateTime::fromMSecsSinceEpoch(ms).toString(QStringLiteral("HH:mm:ss"));
}

Answer inControl(const Ownership::Hold &owner)
{
    return Answer::refused(
        Cause::Owner, "other_in_control",
        QStringLiteral("%1 is in control until %2").arg(owner.who.text(), timeText(owner.until)),
        "ask for it; or take it over with: xpctl take-control --force");
}

Answer isLocked(const Ownership::Hold &lock)
{
    return Answer::refused(
        Cause::Owner, "locked",
        QStringLiteral("%1 has locked the transport until %2").arg(lock.who.text(), timeText(lock.until)),
        "wait, or end the lock with: xpctl unlock --force");
}
} // namespace

QJsonObject Ownership::Hold::toJson() const
{
    QJsonObject object = who.toJson();
    object["since"] = since;
    object["until"] = until;
    object["seconds"] = qint64(length.count());
    return object;
}

std::optional<Ownership::Hold> Ownership::Hold::parse(const QString &text, qint64 now)
{
    if (text.isEmpty()) return {};
    const QJsonObject object = QJsonDocument::fromJson(text.toUtf8()).object();
    if (object.isEmpty()) return {};
    const Hold hold{Who::fromJson(object), object["since"].toInteger(), object["until"].toInteger(),
                    std::chrono::seconds(object["seconds"].toInt(int(defaultLength.count())))};
    return hold.until > now ? std::optional(hold) : std::nullopt;
}

std::optional<Ownership::Hold> Ownership::heldByOther(eParam_t id, const Who &who) const
{
    auto hold = Hold::parse(_recorder.text(id), _recorder.timeOfDay());
    if (hold && hold->who.identity() == who.identity()) hold.reset();
    return hold;
}

std::optional<Answer> Ownership::refusal(const VerbRow &row, const Request &request, const Who &who) const
{
    if (row.has(VerbRow::MovesTransport)) {
        constexpr unsigned local = 1;
        if (who.isNetwork() && _recorder.number(eParam_ControlMode) == local)
            return Answer::refused(
                Cause::Owner, "switched_to_local",
                "the recorder is switched to local: only who sits at the machine may operate",
                "switch it at the machine with: xpctl remote");
        if (const auto lock = heldByOther(eParam_ControlLock, who)) return isLocked(*lock);
        if (const auto owner = heldByOther(eParam_ControlOwner, who)) return inControl(*owner);
    }
    return endsTake(row, request, who);
}

std::optional<Answer> Ownership::endsTake(const VerbRow &row, const Request &request, const Who &who) const
{
    if (!row.has(VerbRow::EndsTake) && !row.has(VerbRow::StopsTake)) return {};
    if (request.force) return {};
    const unsigned protection = _recorder.number(eParam_TakeProtection);
    if (protection == Off || (protection == Network && !who.isNetwork())) return {};
    const auto beginner = takeOnItsWay(_recorder);
    const bool isOwn = row.has(VerbRow::StopsTake) && beginner && beginner->identity() == who.identity();
    if (isOwn || !takeRunsOrBegins(_recorder)) return {};
    if (row.has(VerbRow::EndsTake))
        return Answer::refused(Cause::Deck, "take_runs", "a take is being recorded",
                               "end it first with: xpctl stop");
    const QJsonObject starter = QJsonDocument::fromJson(_recorder.text(eParam_TakeStarter).toUtf8()).object();
    if (Who::fromJson(starter).identity() == who.identity()) return {};
    return Answer::refused(
        Cause::Deck, "not_your_take",
        starter.isEmpty()
            ? QStringLiteral("the take that runs was begun by somebody else")
            : QStringLiteral("the take that runs was begun by %1").arg(Who::fromJson(starter).text()),
        "say force to end it all the same");
}

Answer Ownership::write(eParam_t id, const QString &value, const QString &sentence)
{
    const QString problem = _recorder.write(id, value);
    return problem.isEmpty() ? Answer::done(sentence) : storeError(problem);
}

Answer Ownership::hold(eParam_t id, const Who &who, std::chrono::seconds length, const QString &sentence)
{
    const qint64 now = _recorder.timeOfDay();
    const auto before = Hold::parse(_recorder.text(id), now);
    const bool isSame = before && before->who.identity() == who.identity();
    const qint64 until = now + std::chrono::milliseconds(length).count();
    const Hold hold{who, isSame ? before->since : now, until, length};
    Answer answer = write(id, compact(hold.toJson()), sentence.arg(timeText(hold.until)));
    if (answer.isDone()) answer.effect = hold.toJson();
    return answer;
}

void Ownership::renew(const Who &who)
{
    const qint64 now = _recorder.timeOfDay();
    const auto owner = Hold::parse(_recorder.text(eParam_ControlOwner), now);
    if (!owner || owner->who.identity() != who.identity()) return;
    if (std::chrono::milliseconds(owner->until - now) > owner->length / 2)
        return; // long enough: the store is left alone
    StoreLock lock(QmxEnvironment::current().places->controlLock.toStdString());
    lock.acquire(lockWithin, nullptr);
    if (!heldByOther(eParam_ControlOwner, who)) hold(eParam_ControlOwner, who, owner->length, "%1");
}

namespace {
/// Waits for another program that changes the same; without the folder of the lock everybody is alone.
std::optional<Answer> acquired(StoreLock &lock)
{
    if (lock.acquire(lockWithin, nullptr) || lock.error() != EWOULDBLOCK) return {};
    return Answer::refused(Cause::Busy, "busy", "another program is changing who is in control", "try again");
}
} // namespace

Answer Ownership::takeControl(const Who &who, std::chrono::seconds length, bool force)
{
    StoreLock lock(QmxEnvironment::current().places->controlLock.toStdString());
    if (const auto busy = acquired(lock)) return *busy;
    if (const auto owner = heldByOther(eParam_ControlOwner, who); owner && !force) return inControl(*owner);
    return hold(eParam_ControlOwner, who, length,
                QStringLiteral("%1 is in control until %2").arg(who.text(), "%1"));
}

Answer Ownership::releaseControl(const Who &who, bool force)
{
    StoreLock lock(QmxEnvironment::current().places->controlLock.toStdString());
    if (const auto busy = acquired(lock)) return *busy;
    if (const auto owner = heldByOther(eParam_ControlOwner, who); owner && !force) return inControl(*owner);
    Answer answer = write(eParam_ControlOwner, {}, "nobody is in control: everybody may operate");
    if (answer.isDone()) answer.effect = {{"released", true}};
    return answer;
}

Answer Ownership::lock(const Who &who, std::chrono::seconds length)
{
    StoreLock fileLock(QmxEnvironment::current().places->controlLock.toStdString());
    if (const auto busy = acquired(fileLock)) return *busy;
    if (const auto other = heldByOther(eParam_ControlLock, who)) return isLocked(*other);
    if (const auto owner = heldByOther(eParam_ControlOwner, who)) return inControl(*owner);
    return hold(eParam_ControlLock, who, length, QStringLiteral("locked for all others until %1"));
}

Answer Ownership::unlock(const Who &who, bool force)
{
    StoreLock lock(QmxEnvironment::current().places->controlLock.toStdString());
    if (const auto busy = acquired(lock)) return *busy;
    if (const auto other = heldByOther(eParam_ControlLock, who); other && !force) return isLocked(*other);
    Answer answer = write(eParam_ControlLock, {}, "the transport is not locked");
    if (answer.isDone()) answer.effect = {{"locked", false}};
    return answer;
}

Answer Ownership::setMode(const Who &who, bool isLocal)
{
    // (Nobody who is kept away by it may lift it.)
    constexpr unsigned local = 1;
    if (who.isNetwork() && _recorder.number(eParam_ControlMode) == local && !isLocal)
        return Answer::refused(
            Cause::Owner, "switched_to_local",
            "the recorder is switched to local: only who sits at the machine can lift that",
            "switch it at the machine with: xpctl remote");
    if (const auto owner = heldByOther(eParam_ControlOwner, who)) return inControl(*owner);
    const QString problem = _recorder.write(eParam_ControlMode, isLocal ? local : 0U);
    if (!problem.isEmpty()) return storeError(problem);
    return Answer::done(isLocal ? "only who sits at the machine may move the transport"
                                : "everybody may move the transport",
                        {{"mode", isLocal ? "local" : "remote"}});
}

void Ownership::takeBegun(const Who &who)
{
    QJsonObject object = who.toJson();
    object["since"] = _recorder.timeOfDay();
    // (Whose take it is holds also when somebody else has taken over already.)
    _recorder.config().setString(eParam_TakeStarter, compact(object).toStdString());
}
