// SPDX-License-Identifier: GPL-3.0-or-later
#include "companions/panel/fleetkey.h"

#include "companions/panel/access.h"

#include <QCryptographicHash>
#include <QFile>
#include <QMessageAuthenticationCode>

#include <cstdlib>

#include <sys/stat.h>

namespace {
constexpr qsizetype shortestKey = 32;
constexpr std::chrono::seconds agreesWithin{60}; ///< between the clocks of two machines

/// What a signature stands for.
QByteArray signedText(const QByteArrayList &parts, const QByteArray &body, const QByteArray &certificate)
{
    const QByteArray text =
        parts.join('\n') + '\n' + QCryptographicHash::hash(body, QCryptographicHash::Sha256).toHex();
    return certificate.isEmpty() ? text : text + '\n' + certificate;
}
} // namespace

FleetKey::FleetKey(const QString &path, QString *problem)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) return;
    struct stat status = {};
    const bool isOpenToAll = fstat(file.handle(), &status) != 0 || (status.st_mode & S_IRWXO) != 0;
    const QByteArray line = file.readLine().trimmed();
    if (!isOpenToAll && line.size() >= shortestKey)
        _key = line;
    else if (problem)
        *problem = isOpenToAll ? QStringLiteral("%1 is no secret: chmod o= %1").arg(path)
                               : QStringLiteral("the key in %1 is too short: it needs %2 characters")
                                     .arg(path)
                                     .arg(shortestKey);
}

QByteArray FleetKey::mac(const QByteArray &text) const
{
    return QMessageAuthenticationCode::hash(text, _key, QCryptographicHash::Sha256).toHex();
}

QByteArray FleetKey::proof(const QByteArray &nonce, const QByteArray &certificate) const
{
    return mac("answer\n" + nonce + (certificate.isEmpty() ? QByteArray() : '\n' + certificate));
}

FleetKey::Signature FleetKey::sign(const QByteArray &method, const QByteArray &target,
                                   const QByteArray &caller, const QByteArray &role, const QByteArray &body,
                                   const QByteArray &certificate, std::chrono::seconds wall) const
{
    const QByteArray time = QByteArray::number(qint64(wall.count()));
    const QByteArray nonce = randomToken().toLatin1();
    const QByteArray all = signedText({method, target, time, nonce, caller, role}, body, certificate);
    return {"Fleet " + time + ' ' + nonce + ' ' + mac(all), nonce};
}

bool FleetKey::verify(const HttpCall &call, std::chrono::seconds wall, QByteArray &proofOfAnswer)
{
    constexpr size_t mostSeen = 65536;
    const QByteArrayList words = call.header("authorization").split(' ');
    if (!isSet() || words.size() != 4) return false;
    const std::chrono::seconds time(words[1].toLongLong());
    const QByteArray &nonce = words[2];
    const QByteArray all = signedText(
        {call.method, call.target, words[1], nonce, call.header(callerHeader), call.header(roleHeader)},
        call.body, call.certificate);
    if (!isSame(words[3], mac(all)) || std::chrono::abs(time - wall) > agreesWithin) return false;
    std::erase_if(_seen, [wall](const auto &one) { return one.second < wall; });
    if (_seen.size() >= mostSeen ||
        !_seen.emplace(nonce, time + agreesWithin + std::chrono::seconds(1)).second)
        return false;
    proofOfAnswer = proof(nonce, call.certificate);
    return true;
}
