// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "companions/panel/http.h"

#include <chrono>
#include <map>

/// The secret that the panels of a fleet share, in a file of each machine. It never travels: who passes a
/// request on signs it, and who answers proves with the answer that it has the key as well. So neither a
/// machine that only claims to be one of the fleet nor a request that somebody has listened to is good for
/// anything. Over TLS both also stand for the certificate that the connection has: one that nobody has signed
/// is as good as any, and who puts himself in between, with one of his own, proves nothing. (Without TLS what
/// is said can be read on the way: the network has to be the fleet's own.) One thread.
class FleetKey
{
public:
    /// The first line of the file; `problem` says why it is no key. Without the file there is no fleet.
    explicit FleetKey(const QString &path, QString *problem = nullptr);

    bool isSet() const { return !_key.isEmpty(); }
    /// A request for another machine, for somebody with a role here: the header Authorization, and the nonce
    /// in it. `certificate` is the fingerprint of the other machine's; empty: plain.
    struct Signature
    {
        QByteArray authorization;
        QByteArray nonce;
    };
    Signature sign(const QByteArray &method, const QByteArray &target, const QByteArray &caller,
                   const QByteArray &role, const QByteArray &body, const QByteArray &certificate,
                   std::chrono::seconds wall) const;
    /// Whether a request was signed with this key, now, for the first time; `proof` for the answer's header
    /// X-Xp-Proof.
    bool verify(const HttpCall &call, std::chrono::seconds wall, QByteArray &proof);
    QByteArray proof(const QByteArray &nonce, const QByteArray &certificate) const;

    static constexpr auto callerHeader = "x-xp-caller";
    static constexpr auto roleHeader = "x-xp-role";
    static constexpr auto proofHeader = "x-xp-proof";

private:
    QByteArray mac(const QByteArray &text) const;

    QByteArray _key;
    std::map<QByteArray, std::chrono::seconds> _seen; ///< nonces, and when they may be forgotten
};
