// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/control/answer.h"
#include "platform/control/verbs.h"
#include "platform/control/who.h"

#include "platform/store/eparam.h"

#include <chrono>
#include <optional>

class Recorder;

/// Who may move the transport. What it knows lives in the store, so that all programs agree: the parameters
/// control_owner, control_lock, control_mode, take_starter and take_protection. Of two programs that change
/// it at once the second waits for the first (a lock file). The thread of `recorder`.
class Ownership
{
public:
    /// An owner or a lock, until its end. A value.
    struct Hold
    {
        Who who;
        qint64 since = 0; ///< ms since 1970-01-01 UTC
        qint64 until = 0;
        std::chrono::seconds length{}; ///< from the last command on

        QJsonObject toJson() const;
        /// Nothing when there is none or it has ended by `now`.
        static std::optional<Hold> parse(const QString &text, qint64 now);
    };

    static constexpr std::chrono::seconds defaultLength{60};
    static constexpr std::chrono::hours longest{24};

    explicit Ownership(Recorder &recorder) : _recorder(recorder) {}

    /// Nothing, or why `who` may not do this now.
    std::optional<Answer> refusal(const VerbRow &row, const Request &request, const Who &who) const;
    /// The owner has done something: its time begins anew.
    void renew(const Who &who);
    Answer takeControl(const Who &who, std::chrono::seconds length, bool force);
    Answer releaseControl(const Who &who, bool force);
    Answer lock(const Who &who, std::chrono::seconds length);
    Answer unlock(const Who &who, bool force);
    Answer setMode(const Who &who, bool isLocal);
    void takeBegun(const Who &who);

private:
    std::optional<Answer> endsTake(const VerbRow &row, const Request &request, const Who &who) const;
    /// Nothing, or who else holds it.
    std::optional<Hold> heldByOther(eParam_t id, const Who &who) const;
    Answer hold(eParam_t id, const Who &who, std::chrono::seconds length, const QString &sentence);
    Answer write(eParam_t id, const QString &value, const QString &sentence);

    Recorder &_recorder;
};
