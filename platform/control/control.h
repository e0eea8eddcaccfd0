// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/control/recorder.h"
#include "platform/control/verbs.h"

#include <functional>

/// Does what is asked for, for one front.
///
/// perform() waits for the effect of a verb (up to ten seconds, a copy as long as it takes): a front calls it
/// on a thread of its own that answers nobody else, see ControlWorkers. One thread at a time; what may be
/// called from others is said at the member.
///
/// Every verb leaves a line in the log: front, peer, verb, answer.
class Control
{
public:
    /// `client` names this program to the store ("xppanel"). Of several objects in one process each needs a
    /// name of its own only if they shall hear each other's writes.
    explicit Control(const QString &client);
    ~Control();
    Control(const Control &) = delete;
    Control &operator=(const Control &) = delete;

    /// Checks, in this order: the verb and its arguments exist and make sense; `who` has the role for it;
    /// store and daemon are there; `who` may now; the take that runs is not ended without `force`. Then does
    /// it and waits.
    Answer perform(const Request &request, const Who &who);
    /// As perform() would refuse it now, without doing it; nothing when it would be tried.
    std::optional<Answer> refusal(const VerbRow &row, const Request &request, const Who &who);

    /// Why `who` may not change the active medium now; nothing when it is allowed.
    std::optional<Answer> mediumRefusal(const Who &who, bool force);

    Recorder &recorder() { return _recorder; }
    /// Ends waits, now and from now on. Any thread.
    void giveUp() { _isGivenUp = true; }
    /// Where lines of the log go; the log of the process when none is set. Before the first perform().
    void setLog(std::function<void(const QString &line)> log) { _log = std::move(log); }

private:
    /// A write of a verb that moves the transport: announces it first; once somebody else has announced
    /// another one, nothing more is written.
    QString writeInTurn(const Request &request, const Who &who, const Recorder::Write &write,
                        const VerbRow &row);
    /// Empty, or why it could not be written.
    QString announce(const Request &request, const Who &who);
    bool isSuperseded();
    bool looksSuperseded();
    Answer superseded() const;
    void tell(const Request &request, const Who &who, const Answer &answer) const;

    Recorder _recorder;
    std::function<void(const QString &)> _log;
    std::atomic<bool> _isGivenUp = false;
    QString _announced;          ///< id of the transport verb that waits; empty: none
    QString _announcedVerb;      ///< with its arguments
    bool _isUnannounced = false; ///< the store did not take it
    QJsonObject _supersededBy;
    qint64 _nextLook = 0;
    unsigned _announcements = 0; ///< of this process, when it was looked last
};
